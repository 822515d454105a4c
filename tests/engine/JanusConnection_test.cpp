#include "engine/JanusConnection.h"

#include <gtest/gtest.h>

#include <string>

#include "FakeJanus.h"
#include "testing/Arrivals.h"

namespace vemo::janus {
namespace {

using namespace std::chrono_literals;
using boost::json::object;

std::string describe(const JanusConnection::Result& result) {
  if (!result.error) return "ok";
  switch (result.error->kind) {
    case JanusError::Kind::unreachable: return "unreachable";
    case JanusError::Kind::timedOut: return "timed out";
    case JanusError::Kind::lost: return "lost";
    case JanusError::Kind::refused: return "refused " + std::to_string(result.error->code);
  }
  return "";
}

std::string kindOf(const object& request) { return std::string(request.at("janus").as_string()); }

class JanusConnectionTest : public ::testing::Test {
 protected:
  void TearDown() override {
    EngineThread::Task drop = [held = std::move(connection_)] {
      if (held) held->close();
    };
    thread_.post(std::move(drop));
    thread_.waitUntilIdle(30s);
  }

  void open(const std::string& server) {
    JanusConnection::Settings settings;
    settings.server = server;
    settings.token = "secret";
    settings.answerTimeout = answerTimeout_;
    settings.keepalive = keepalive_;
    settings.firstPause = 10ms;
    settings.longestPause = 40ms;
    connection_ = std::make_shared<JanusConnection>(
        thread_, settings,
        JanusConnection::Listener{
            [this](std::uint64_t handle, const object& event) {
              news_.add("event " + std::to_string(handle) + ' ' + kindOf(event));
            },
            [this] { news_.add("lost"); }, [this] { news_.add("retry"); },
            [this](bool same) { news_.add(same ? "recovered" : "recovered anew"); },
            [this](const JanusError& why) { news_.add("ended " + std::to_string(why.code)); }});
    thread_.post([this] {
      connection_->open([this](const auto& result) { news_.add("open " + describe(result)); });
    });
  }
  /// Sends a message to handle 8 and tells what came of it.
  void message() {
    thread_.post([this] {
      connection_->message(8, {{"request", "join"}}, std::nullopt, [this](const auto& result) {
        const auto* jsep = result.answer.if_contains("jsep");
        news_.add("message " + describe(result) + (jsep ? " jsep" : ""));
      });
    });
  }
  std::string news() { return news_.next().value_or("nothing"); }
  /// The next news that is not a retry.
  std::string otherNews() {
    auto next = news();
    while (next == "retry") next = news();
    return next;
  }

  std::chrono::milliseconds answerTimeout_ = 10s;
  std::chrono::milliseconds keepalive_ = 10s;
  Arrivals<std::string> news_;
  std::shared_ptr<JanusConnection> connection_;
  EngineThread thread_;
};

TEST_F(JanusConnectionTest, OpensASessionAndSendsItsTokenEachTime) {
  FakeJanus server([](auto& self, const auto& request) { self.serve(request); });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  const auto create = server.requests.next().value();
  EXPECT_EQ(kindOf(create), "create");
  EXPECT_EQ(create.at("token").as_string(), "secret");
  thread_.post([this] {
    connection_->attach("janus.plugin.videoroom", [this](const auto& result, std::uint64_t handle) {
      news_.add("attach " + describe(result) + ' ' + std::to_string(handle));
    });
  });
  EXPECT_EQ(news(), "attach ok 8");
  const auto attach = server.requests.next().value();
  EXPECT_EQ(attach.at("session_id").as_int64(), 7);
  EXPECT_EQ(attach.at("token").as_string(), "secret");
}

TEST_F(JanusConnectionTest, EndsTheSessionAtTheEnd) {
  FakeJanus server([](auto& self, const auto& request) { self.serve(request); });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  thread_.post([this] { std::exchange(connection_, nullptr)->close(); });
  server.requests.next();
  EXPECT_EQ(kindOf(server.requests.next().value()), "destroy");
  EXPECT_TRUE(thread_.waitUntilIdle(30s));
}

TEST_F(JanusConnectionTest, SaysThatNobodyListens) {
  open("ws://127.0.0.1:1");
  EXPECT_EQ(news(), "open unreachable");
}

TEST_F(JanusConnectionTest, SaysThatAnAddressIsNone) {
  open("nowhere");
  EXPECT_EQ(news(), "open unreachable");
}

TEST_F(JanusConnectionTest, SaysThatTheServerRefuses) {
  FakeJanus server([](auto& self, const auto& request) {
    self.answer(request, {{"janus", "error"}, {"error", {{"code", 403}, {"reason", "no"}}}});
  });
  open(server.url());
  EXPECT_EQ(news(), "open refused 403");
}

TEST_F(JanusConnectionTest, SaysThatTheServerIsSilent) {
  answerTimeout_ = 50ms;
  FakeJanus server([](auto&, const auto&) {});
  open(server.url());
  EXPECT_EQ(news(), "open timed out");
}

TEST_F(JanusConnectionTest, WaitsForTheEventThatAnAckPromises) {
  FakeJanus server([](auto& self, const auto& request) {
    if (kindOf(request) != "message") return self.serve(request);
    self.answer(request, {{"janus", "ack"}});
    self.say(R"({"janus":"event","sender":9,"plugindata":{"data":{"other":true}}})");
    self.answer(request, {{"janus", "event"},
                          {"sender", 8},
                          {"plugindata", {{"data", {{"videoroom", "joined"}}}}},
                          {"jsep", {{"type", "answer"}}}});
  });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  message();
  EXPECT_EQ(news(), "event 9 event");
  EXPECT_EQ(news(), "message ok jsep");
}

TEST_F(JanusConnectionTest, AnErrorOfThePluginIsOneOfTheRequest) {
  FakeJanus server([](auto& self, const auto& request) {
    if (kindOf(request) != "message") return self.serve(request);
    self.answer(request, {{"janus", "success"},
                          {"plugindata", {{"data", {{"error_code", 426}, {"error", "none"}}}}}});
  });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  message();
  EXPECT_EQ(news(), "message refused 426");
}

TEST_F(JanusConnectionTest, WhatTheServerSaysWithoutSenseIsPassedOver) {
  FakeJanus server([](auto& self, const auto& request) {
    if (kindOf(request) != "message") return self.serve(request);
    for (const auto* text : {"{", "[]", "7", R"({"janus":7})", R"({"janus":"event","sender":-1})",
                             R"({"janus":"error","error":7})", R"({"transaction":[]})"}) {
      self.say(text);
    }
    self.answer(request, {{"janus", "event"}, {"plugindata", 7}});
  });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  message();
  while (true) {
    const auto next = news();
    if (next == "message ok") break;
    ASSERT_TRUE(next.starts_with("event 0")) << next;
  }
}

TEST_F(JanusConnectionTest, ClaimsItsSessionOnANewSocket) {
  FakeJanus server([](auto& self, const auto& request) {
    if (kindOf(request) == "message") return self.drop();
    self.serve(request);
  });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  message();
  EXPECT_EQ(news(), "message lost");
  EXPECT_EQ(news(), "lost");
  EXPECT_EQ(news(), "retry");
  EXPECT_EQ(otherNews(), "recovered");
  server.requests.next(2);
  const auto claim = server.requests.next().value();
  EXPECT_EQ(kindOf(claim), "claim");
  EXPECT_EQ(claim.at("session_id").as_int64(), 7);
}

TEST_F(JanusConnectionTest, BeginsANewSessionWhereTheOldOneIsGone) {
  FakeJanus server([](auto& self, const auto& request) {
    if (kindOf(request) == "message") return self.drop();
    if (kindOf(request) != "claim") return self.serve(request);
    self.answer(request, {{"janus", "error"}, {"error", {{"code", 458}, {"reason", "gone"}}}});
  });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  message();
  EXPECT_EQ(news(), "message lost");
  EXPECT_EQ(news(), "lost");
  EXPECT_EQ(otherNews(), "recovered anew");
}

TEST_F(JanusConnectionTest, EndsWhereTheServerWillNotHaveItBack) {
  bool broken = false;
  FakeJanus server([&broken](auto& self, const auto& request) {
    if (kindOf(request) == "message") {
      broken = true;
      return self.drop();
    }
    if (!broken) return self.serve(request);
    self.answer(request, {{"janus", "error"}, {"error", {{"code", 403}, {"reason", "expired"}}}});
  });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  message();
  EXPECT_EQ(news(), "message lost");
  EXPECT_EQ(news(), "lost");
  EXPECT_EQ(otherNews(), "ended 403");
}

TEST_F(JanusConnectionTest, TriesAgainAndAgain) {
  int claims = 0;
  FakeJanus server([&claims](auto& self, const auto& request) {
    if (kindOf(request) == "message" || (kindOf(request) == "claim" && ++claims < 4)) {
      return self.drop();
    }
    self.serve(request);
  });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  message();
  EXPECT_EQ(news(), "message lost");
  EXPECT_EQ(news(), "lost");
  for (int i = 0; i < 4; ++i) EXPECT_EQ(news(), "retry");
  EXPECT_EQ(news(), "recovered");
}

TEST_F(JanusConnectionTest, AServerThatFallsSilentIsLost) {
  keepalive_ = 30ms;
  answerTimeout_ = 50ms;
  FakeJanus server([silent = false](auto& self, const auto& request) mutable {
    if (kindOf(request) == "keepalive") silent = true;
    if (kindOf(request) == "claim") silent = false;
    if (!silent) self.serve(request);
  });
  open(server.url());
  EXPECT_EQ(news(), "open ok");
  EXPECT_EQ(news(), "lost");
  EXPECT_EQ(otherNews(), "recovered");
}

TEST_F(JanusConnectionTest, MayBeClosedInItsOwnEvent) {
  FakeJanus server([](auto& self, const auto& request) { self.serve(request); });
  open(server.url());
  thread_.post([this] { news_.add("posted"); });
  EXPECT_EQ(news(), "posted");
  EXPECT_EQ(news(), "open ok");
  thread_.post([this] {
    connection_->attach("x", [this](const auto&, std::uint64_t) {
      std::exchange(connection_, nullptr)->close();
      news_.add("closed");
    });
  });
  EXPECT_EQ(news(), "closed");
  EXPECT_TRUE(thread_.waitUntilIdle(30s));
}

}  // namespace
}  // namespace vemo::janus
