#include "engine/RoomVisit.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "FakeJanus.h"
#include "testing/Arrivals.h"

namespace vemo::janus {
namespace {

using namespace std::chrono_literals;
using boost::json::object;

std::string nameOf(const object& request) {
  const auto* body = request.if_contains("body");
  return std::string((body ? body->at("request") : request.at("janus")).as_string());
}

/// Answers what a visit asks for; a connection to send over ends only some keepalives after that
/// was asked for.
class SlowlyEndingServer {
 public:
  std::string url() const { return server_.url(); }
  void drop() {
    server_.onItsThread([this] { server_.drop(); });
  }
  Arrivals<std::string> told_;  // "publish" and "hangup", as they come

 private:
  void serve(FakeJanus& server, const object& request) {
    constexpr int kKeepalives = 4;  // longer than an offer takes
    const auto name = nameOf(request);
    if (name == "claim") {
      isEnding_ = true;
      ending_ = kKeepalives;
    }
    if (name == "publish") {
      told_.add(name);
      return;  // never answered: what comes of it is of no interest here
    }
    if (name == "keepalive" && ending_ > 0) --ending_;
    if (name == "keepalive" && ending_ == 0 && std::exchange(isEnding_, false)) {
      told_.add("hangup");
      server.say(R"({"janus":"hangup","sender":8,"reason":"Close PC"})");
    }
    if (!request.contains("body")) return server.serve(request);
    server.answer(
        request,
        {{"janus", "event"}, {"sender", 8}, {"plugindata", {{"data", {{"videoroom", "event"}}}}}});
  }

  bool isEnding_ = false;
  int ending_ = 0;
  FakeJanus server_{[this](auto& self, const auto& request) { serve(self, request); }};
};

TEST(RoomVisitTest, SendsAgainOnceTheServerHasEndedTheFormerConnection) {
  SlowlyEndingServer server;
  EngineThread thread;
  Arrivals<std::string> news;
  RoomVisit::Settings settings;
  settings.connection.server = server.url();
  settings.connection.keepalive = 250ms;
  settings.connection.firstPause = 10ms;
  settings.room = "1-7";
  settings.userId = "alice";
  RoomVisit::Listener listener;
  listener.onPresence = [](const auto&, const auto&) {};
  listener.onGone = [](const auto&, std::int64_t) {};
  listener.onLost = [] {};
  listener.onRetry = [] {};
  listener.onRecovered = [&] { news.add("recovered"); };
  listener.onPutOut = [](std::int64_t, const auto&) {};
  listener.onPublisher = [](Publisher*) {};
  listener.onFirstSent = [](Line) {};
  listener.log = [](const std::string&) {};
  auto visit = std::make_shared<RoomVisit>(thread, settings, listener);
  thread.post([&] {
    visit->enter({}, [&](const auto& failure) {
      // Who is on stage from here on sends after each loss.
      visit->announce({.anchor = true});
      news.add(failure ? failure->text : "entered");
    });
  });
  EXPECT_EQ(news.next(), "entered");
  server.drop();
  EXPECT_EQ(news.next(), "recovered");
  EXPECT_EQ(server.told_.next(2), (std::vector<std::string>{"hangup", "publish"}));
  thread.post([&] { visit->leave([&] { news.add("left"); }); });
  EXPECT_EQ(news.next(), "left");
  thread.post([&] {
    visit.reset();
    news.add("gone");
  });
  EXPECT_EQ(news.next(), "gone");
}

}  // namespace
}  // namespace vemo::janus
