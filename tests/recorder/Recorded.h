#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "platform/JSMsgRouter.h"
#include "recorder/Recorder.h"
#include "recorder/Recording.h"
#include "replay/Replay.h"
#include "replay/SessionWriter.h"
#include "testing/FakePlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::test {

/// A router on `platform` with `recorder` in between.
inline std::shared_ptr<VEMOKOBUMsgRouter> recorded(Recorder& recorder, FakePlatform& platform) {
  auto base = std::make_unique<JSMsgRouter>(
      recorder.platform().logger,
      recorder.replies(std::make_shared<MainThreadReplyDelivery>(platform.mainQueue, "reply")),
      platform.webView);
  return VEMOKOBUMsgRouter::create(recorder.baseRouter(std::move(base)), recorder.platform());
}

inline void send(VEMOKOBUMsgRouter& router, const std::string& action,
                 const std::string& params = "{}") {
  router.receive(R"({"head":{"module":"kobu","action":")" + action + R"("},"params":)" + params +
                 R"(,"cbid":"1"})");
}

/// The scenario that the recording, or dump, in `text` makes.
inline std::string sessionOf(const std::string& text) {
  std::istringstream in(text);
  std::string error;
  const auto recording = readRecording(in, error);
  EXPECT_TRUE(recording) << error;
  std::ostringstream session;
  if (recording) replay::writeSession(*recording, session);
  return session.str();
}

/// What a check of `session` writes.
inline std::string checked(const std::string& session) {
  std::istringstream in(session);
  std::ostringstream out;
  std::ostringstream err;
  replay::replay(in, replay::Mode::check, out, err);
  return err.str() + out.str();
}

}  // namespace vemo::test
