#include "recorder/NotingHost.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "recorder/NoteRing.h"
#include "recorder/Recorded.h"

namespace vemo::test {
namespace {

class Ears final : public VEMOKOBUEventListener {
 public:
  void onVEMORemoteUserEnterRoom(const Text& userId) override {
    heard.push_back(userId.value_or(""));
  }
  std::vector<std::string> heard;
};

TEST(NotingHost, WhatAHostDoesIsPlayedAsItWasRecorded) {
  using Router = VEMOKOBUMsgRouter;
  FakePlatform platform;
  const auto ring = std::make_shared<NoteRing>(NoteRingOptions());
  Recorder recorder(platform.pieces(), ring, nullptr);
  int completed = 0;
  {
    const auto router = recorded(recorder, platform);
    NotingHost host(recorder.notes(), router);
    send(*router, "initSDK");
    auto ears = std::make_shared<Ears>();
    host.call("addKOBUEventListener", &Router::addKOBUEventListener, ears);
    host.call("addKOBUEventListener", &Router::addKOBUEventListener, ears);
    EXPECT_EQ(router->kobuEventListeners().size(), 1U) << "twice is once";
    KOBUParams params;
    params.userId = "ada";
    params.userSig = "verysecret";
    host.call(
        "vemoEnterRoom", &Router::vemoEnterRoom, std::make_shared<const KOBUParams>(params), 0,
        [&](VEMOModule, std::int64_t, const Text&, const Text&, std::int64_t) { ++completed; });
    const auto delegate = platform.engineClass.instance()->delegate();
    delegate->onEnterRoom(120);
    while (platform.mainQueue.drain() > 0) {
    }
    EXPECT_EQ(completed, 1);
    const auto view = std::make_shared<NativeView>();
    host.call("kobuStartPreview", &Router::kobuStartPreview, "ben", view, true);
    host.call("kobuMuteAllRemoteAudio", &Router::kobuMuteAllRemoteAudio, true);
    EXPECT_NE(host.call("kobuScreenCaptureSupportMode", &Router::kobuScreenCaptureSupportMode), 0);
    EXPECT_TRUE(host.call("hasEnterRoom", &Router::hasEnterRoom));
    EXPECT_EQ(host.call("curEnteredRoomUserId", &Router::curEnteredRoomUserId), "ada");
    delegate->onRemoteUserEnterRoom("ben");
    while (platform.mainQueue.drain() > 0) {
    }
    EXPECT_EQ(ears->heard, std::vector<std::string>{"ben"});
    ears.reset();
    EXPECT_TRUE(router->kobuEventListeners().empty()) << "held by nobody but the host";
    host.noteReleased();
    delegate->onRemoteUserEnterRoom("cleo");
    while (platform.mainQueue.drain() > 0) {
    }
    host.call("zebExitRoom", &Router::zebExitRoom, nullptr);
    delegate->onExitRoom(0);
    while (platform.mainQueue.drain() > 0) {
    }
  }
  const auto session = sessionOf(ring->recording(nullptr));
  for (
      const std::string part :
      {R"({"listener":"listener 1")", R"({"host":"addKOBUEventListener","args":["listener 1"])",
       R"({"host":"vemoEnterRoom","args":[{"sdkAppId":0,"userId":"ada")",
       R"("effect":"completion")", R"("op":"onVEMORemoteUserEnterRoom","args":["ben"])",
       R"({"host":"kobuStartPreview","args":["ben","view 1",true])", R"({"release":"listener 1")",
       R"({"host":"zebExitRoom","args":[],"completion":false)",
       R"({"get":"supportMode","expect":[)",
       R"({"get":"hasEnterRoom","expect":[{"effect":"value","thread":"main","of":"hasEnterRoom","value":true)",
       R"("of":"curEnteredRoomUserId","value":"ada")"})
    EXPECT_NE(session.find(part), std::string::npos) << part << '\n' << session;
  EXPECT_EQ(session.find(R"("args":["cleo"],"thread":"main"})"), std::string::npos);
  const auto result = checked(session);
  EXPECT_EQ(result.find("line "), std::string::npos) << result << session;

  auto another = session;  // the host was told of another user
  const std::string value = R"("value":"ada")";
  another.replace(another.find(value), value.size(), R"("value":"eve")");
  EXPECT_NE(checked(another).find("value of curEnteredRoomUserId has value \"ada\", was \"eve\""),
            std::string::npos)
      << checked(another);

  auto other = session;
  const std::string heard = R"("op":"onVEMORemoteUserEnterRoom","args":["ben"])";
  other.replace(other.find(heard), heard.size(),
                R"("op":"onVEMORemoteUserEnterRoom","args":["eve"])");
  EXPECT_NE(checked(other).find("call of onVEMORemoteUserEnterRoom at listener 1 has argument 1 "
                                "\"ben\", was \"eve\""),
            std::string::npos)
      << checked(other);
}

}  // namespace
}  // namespace vemo::test
