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

RoomVisit::Listener listenerThatSays(Arrivals<std::string>& news) {
  RoomVisit::Listener listener;
  listener.onPresence = [](const auto&, const auto&) {};
  listener.onGone = [](const auto&, std::int64_t) {};
  listener.onLost = [] {};
  listener.onRetry = [] {};
  listener.onRecovered = [&news] { news.add("recovered"); };
  listener.onPutOut = [](std::int64_t, const auto&) {};
  listener.onPublisher = [](Publisher*) {};
  listener.onFirstSent = [](Line) {};
  listener.log = [&news](const std::string& text) {
    if (text.find("come up") != std::string::npos) news.add(text);
  };
  return listener;
}

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
  auto listener = listenerThatSays(news);
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

/// Somebody else's sound, which nobody hears.
class Deaf final : public StreamReceiver {
 public:
  void take(GstSample*) override {}
};

/// Offers what bob sends, over a connection that never comes up.
void offerInVain(FakeJanus& server, const object& request) {
  constexpr const char* kOffer =
      "v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=-\r\nt=0 0\r\na=group:BUNDLE 0\r\n"
      "m=audio 9 UDP/TLS/RTP/SAVPF 111\r\nc=IN IP4 127.0.0.1\r\na=sendonly\r\na=mid:0\r\n"
      "a=rtcp-mux\r\na=ice-ufrag:abcd\r\na=ice-pwd:abcdefghijklmnopqrstuvwx\r\n"
      "a=fingerprint:sha-256 "
      "00:11:22:33:44:55:66:77:88:99:AA:BB:CC:DD:EE:FF:"
      "00:11:22:33:44:55:66:77:88:99:AA:BB:CC:DD:EE:FF\r\n"
      "a=setup:actpass\r\na=rtpmap:111 opus/48000/2\r\n";
  const auto name = nameOf(request);
  object data{{"videoroom", "event"}};
  object answer{{"janus", "event"}, {"sender", 8}};
  if (name == "join" && request.at("body").at("ptype") == "publisher") {
    data = {{"videoroom", "joined"},
            {"publishers", boost::json::array{object{{"id", "bob"}, {"display", "anchor audio"}}}}};
  } else if (name == "join") {
    data = {{"videoroom", "attached"},
            {"streams", boost::json::array{object{{"mindex", 0},
                                                  {"mid", "0"},
                                                  {"feed_id", "bob"},
                                                  {"feed_mid", "audio0"},
                                                  {"active", true}}}}};
    answer["jsep"] = object{{"type", "offer"}, {"sdp", kOffer}};
  } else if (!request.contains("body")) {
    return server.serve(request);
  }
  answer["plugindata"] = object{{"data", std::move(data)}};
  server.answer(request, std::move(answer));
}

TEST(RoomVisitTest, ReceivesAnewWhenTheConnectionDoesNotComeUp) {
  FakeJanus server(offerInVain);
  EngineThread thread;
  Arrivals<std::string> news;
  RoomVisit::Settings settings;
  settings.connection.server = server.url();
  settings.media.longestWayUp = 50ms;
  settings.room = "1-7";
  settings.userId = "alice";
  auto visit = std::make_shared<RoomVisit>(thread, settings, listenerThatSays(news));
  thread.post([&] {
    visit->enter({}, [&](const auto&) {
      visit->subscriber().want({"bob", Line::audio}, {std::make_shared<Deaf>(), true, false});
    });
  });
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(news.next(), "receiving begins anew: the connection does not come up");
  }
  thread.post([&] {
    visit.reset();
    news.add("gone");
  });
  EXPECT_EQ(news.next(), "gone");
}

}  // namespace
}  // namespace vemo::janus
