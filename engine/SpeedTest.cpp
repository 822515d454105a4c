#include "engine/SpeedTest.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "engine/LinkQuality.h"

namespace vemo::janus {
namespace {

constexpr std::size_t kRequests = 10;
constexpr std::size_t kTries = 2;
constexpr std::int32_t kUnusable = 6;

using Clock = std::chrono::steady_clock;

/// "host:port" of an address.
std::string hostOf(const std::string& address) {
  const auto begin = address.find("://");
  return begin == std::string::npos ? address : address.substr(begin + 3);
}

}  // namespace

struct SpeedTest::State : std::enable_shared_from_this<State> {
  State(EngineThread& on, std::vector<JanusConnection::Settings> all, LossTest::Settings how,
        std::shared_ptr<const KOBUCloud::SpeedTestCompletion> tell,
        std::function<void(const std::string&)> note)
      : thread(on),
        servers(std::move(all)),
        media(std::move(how)),
        completion(std::move(tell)),
        log(std::move(note)),
        busy(on.busy()) {}

  /// A callback of the server that is measured now.
  template <class Call>
  auto bind(Call call) {
    return [weak = weak_from_this(), number = index, call](auto&&... arguments) {
      const auto self = weak.lock();
      if (self && self->connection && self->index == number) call(*self, arguments...);
    };
  }

  void next() {
    if (index == servers.size()) {
      if (servers.empty() && *completion) (*completion)(nullptr, 0, 0);
      return end();
    }
    connection = std::make_shared<JanusConnection>(
        thread, servers[index],
        JanusConnection::Listener{
            bind([](State& self, std::uint64_t handle, const boost::json::object& event) {
              if (const auto test = self.lossTest) test->event(handle, event);
            }),
            bind([](State& self) { self.lose("the connection was lost"); }), [] {}, [](bool) {},
            bind([](State& self, const JanusError& why) { self.lose(why.text); })});
    roundTrips.clear();
    asked = answered = tries = 0;
    connection->open(bind([](State& self, const JanusConnection::Result& result) {
      if (result.error) return self.lose(result.error->text);
      self.ask();
    }));
  }

  void ask() {
    if (asked == kRequests) return measureLoss();
    ++asked;
    connection->ping(
        bind([sent = Clock::now()](State& self, const JanusConnection::Result& result) {
          if (!result.error) {
            ++self.answered;
            self.roundTrips.emplace_back(Clock::now() - sent);
          }
          self.ask();
        }));
  }

  void measureLoss() {
    if (answered == 0) return lose("the server does not answer");
    ++tries;
    const auto test = std::make_shared<LossTest>(
        thread, connection, media,
        bind([](State& self, std::optional<LossTest::Loss> loss, const std::string& why) {
          self.lossTest.reset();
          if (!why.empty()) self.note(why);
          if (!loss) {
            // Nobody can tell on which way a request or its answer was lost.
            const auto lost =
                1.0 - static_cast<double>(self.answered) / static_cast<double>(kRequests);
            return self.finish(lost, lost);
          }
          // Now and then a connection does not come up, and the next one does.
          if (!why.empty() && self.tries < kTries && self.connection->isOpen()) {
            return self.measureLoss();
          }
          self.roundTrips.insert(self.roundTrips.end(), loss->roundTrips.begin(),
                                 loss->roundTrips.end());
          self.finish(loss->up, loss->down);
        }));
    lossTest = test;
    test->start();
  }

  void note(const std::string& why) const {
    log("speed test of " + hostOf(servers[index].server) + ": " + why);
  }

  void lose(const std::string& why) {
    note(why);
    finish(1, 1);
  }

  void finish(double up, double down) {
    closeConnection();
    auto found = std::make_shared<KOBUSpeedTestResult>();
    found->ip = hostOf(servers[index].server);
    found->upLostRate = up;
    found->downLostRate = down;
    found->quality = kUnusable;
    if (!roundTrips.empty()) {
      std::sort(roundTrips.begin(), roundTrips.end());
      using Milliseconds = std::chrono::duration<std::int32_t, std::milli>;
      found->rtt = std::chrono::ceil<Milliseconds>(roundTrips[roundTrips.size() / 2]).count();
      found->quality = linkQuality(static_cast<std::uint32_t>(std::max(up, down) * 100),
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

  void closeConnection() {
    const auto ending = std::exchange(connection, nullptr);
    if (!ending) return;
    const auto test = std::exchange(lossTest, nullptr);
    if (!test) return ending->close();
    test->close([ending] { ending->close(); });
  }

  void end() {
    closeConnection();
    completion.reset();
    busy.reset();
  }

  EngineThread& thread;
  const std::vector<JanusConnection::Settings> servers;
  const LossTest::Settings media;
  std::shared_ptr<const KOBUCloud::SpeedTestCompletion> completion;
  const std::function<void(const std::string& text)> log;
  EngineThread::Busy busy;
  std::size_t index = 0;
  std::shared_ptr<JanusConnection> connection;
  std::shared_ptr<LossTest> lossTest;
  std::size_t asked = 0, answered = 0, tries = 0;
  std::vector<std::chrono::duration<double>> roundTrips;
};

SpeedTest::SpeedTest(EngineThread& thread, std::vector<JanusConnection::Settings> servers,
                     LossTest::Settings media,
                     std::shared_ptr<const KOBUCloud::SpeedTestCompletion> completion,
                     std::function<void(const std::string&)> log)
    : state_(std::make_shared<State>(thread, std::move(servers), std::move(media),
                                     std::move(completion), std::move(log))) {
  thread.post([weak = std::weak_ptr(state_)] {
    const auto state = weak.lock();
    if (state && state->busy) state->next();
  });
}

SpeedTest::~SpeedTest() { state_->end(); }

}  // namespace vemo::janus
