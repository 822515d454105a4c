#include "engine/SpeedTest.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "engine/LinkQuality.h"

namespace vemo::janus {
namespace {

constexpr std::size_t kRequests = 10;
constexpr std::int32_t kUnusable = 6;

using Clock = std::chrono::steady_clock;

/// "host:port" of an address.
std::string hostOf(const std::string& address) {
  const auto begin = address.find("://");
  return begin == std::string::npos ? address : address.substr(begin + 3);
}

}  // namespace

struct SpeedTest::State : std::enable_shared_from_this<State> {
  State(EngineThread& on, std::vector<JanusConnection::Settings> all,
        std::shared_ptr<const KOBUCloud::SpeedTestCompletion> tell)
      : thread(on), servers(std::move(all)), completion(std::move(tell)), busy(on.busy()) {}

  void next() {
    if (index == servers.size()) {
      if (servers.empty() && *completion) (*completion)(nullptr, 0, 0);
      return end();
    }
    const auto weak = weak_from_this();
    connection = std::make_shared<JanusConnection>(
        thread, servers[index],
        JanusConnection::Listener{[](auto, const auto&) {},
                                  [weak] {
                                    const auto self = weak.lock();
                                    if (self && self->connection) self->finish();
                                  },
                                  [] {}, [](bool) {}, [](const auto&) {}});
    answered.clear();
    asked = 0;
    connection->open([weak](const JanusConnection::Result& result) {
      const auto self = weak.lock();
      if (!self || !self->connection) return;
      if (result.error) return self->finish();
      self->ask();
    });
  }

  void ask() {
    if (asked == kRequests) return finish();
    ++asked;
    connection->ping(
        [weak = weak_from_this(), sent = Clock::now()](const JanusConnection::Result& result) {
          const auto self = weak.lock();
          if (!self || !self->connection) return;
          if (!result.error) self->answered.push_back(Clock::now() - sent);
          self->ask();
        });
  }

  void finish() {
    std::exchange(connection, nullptr)->close();
    auto found = std::make_shared<KOBUSpeedTestResult>();
    found->ip = hostOf(servers[index].server);
    const auto lost =
        asked == 0 ? 1.0
                   : 1.0 - static_cast<double>(answered.size()) / static_cast<double>(kRequests);
    found->upLostRate = found->downLostRate = lost;
    found->quality = kUnusable;
    if (!answered.empty()) {
      std::sort(answered.begin(), answered.end());
      using Milliseconds = std::chrono::duration<std::int32_t, std::milli>;
      found->rtt = std::chrono::ceil<Milliseconds>(answered[answered.size() / 2]).count();
      found->quality = linkQuality(static_cast<std::uint32_t>(lost * 100),
                                   static_cast<std::uint32_t>(found->rtt));
    }
    ++index;
    const auto self = shared_from_this();
    if (*completion) {
      (*completion)(found, static_cast<std::int64_t>(index),
                    static_cast<std::int64_t>(servers.size()));
    }
    if (!busy) return;  // stopped by it
    if (index == servers.size()) return end();
    next();
  }

  void end() {
    if (connection) std::exchange(connection, nullptr)->close();
    completion.reset();
    busy.reset();
  }

  EngineThread& thread;
  const std::vector<JanusConnection::Settings> servers;
  std::shared_ptr<const KOBUCloud::SpeedTestCompletion> completion;
  EngineThread::Busy busy;
  std::size_t index = 0;
  std::shared_ptr<JanusConnection> connection;
  std::size_t asked = 0;
  std::vector<Clock::duration> answered;
};

SpeedTest::SpeedTest(EngineThread& thread, std::vector<JanusConnection::Settings> servers,
                     std::shared_ptr<const KOBUCloud::SpeedTestCompletion> completion)
    : state_(std::make_shared<State>(thread, std::move(servers), std::move(completion))) {
  thread.post([weak = std::weak_ptr(state_)] {
    const auto state = weak.lock();
    if (state && state->busy) state->next();
  });
}

SpeedTest::~SpeedTest() { state_->end(); }

}  // namespace vemo::janus
