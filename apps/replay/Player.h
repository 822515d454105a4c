#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/JSMsgRouter.h"
#include "recorder/Recorder.h"
#include "replay/Census.h"
#include "replay/Device.h"
#include "replay/NamedObjects.h"
#include "replay/Scenario.h"
#include "replay/ScriptedDevice.h"
#include "replay/ScriptedEngine.h"
#include "replay/Transcript.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::replay {

/// A router on a device that does nothing by itself, and the scenario's hand on both.
/// The thread that makes it is the main thread, and the only one that may use it.
class Player {
 public:
  /// Makes the router; what that does is step 0.
  Player();
  ~Player();
  Player(const Player&) = delete;
  Player& operator=(const Player&) = delete;

  /// Does what the next step says. A step that can't be done is a ScenarioError and
  /// has no effect.
  void play(const Step& step);

  /// What the router did since the last call.
  std::vector<Transcript::Effect> takeEffects() { return transcript_->take(); }

  /// Ends the run: nothing is written any more and everything is let go. What is alive
  /// all the same, by kind, is a mistake of the router or of this tool.
  std::map<std::string, int> finish();

 private:
  void perform(const Step& step);
  void command(const Step& step);
  void message(const Step& step);
  void event(const Step& step);
  void music(const Step& step);
  void speedTest(const Step& step);
  void access(const Step& step);
  void press(const Step& step);
  void downloaded(const Step& step);
  void decoded(const Step& step);
  void notify(const Step& step);
  void host(const Step& step);
  void listener(const Step& step);
  void get(const Step& step);
  void create();
  void use(const Step& step);
  /// Runs what the main queue holds, until it is empty.
  void drain();

  void changeDevice(const json::object& changes);
  void dispatch(const Step& step, const std::shared_ptr<VEMOJSMsgItem>& item, bool hasAction,
                const std::shared_ptr<VEMOWebView>& webView);
  std::string label(const Step& step) const;
  /// Runs `work` on the main thread or on another, as the step's "thread" says; `other`
  /// is the scenario's word for another thread, and the default unless it is `usuallyMain`.
  void onThread(const Step& step, std::string_view other, const std::function<void()>& work,
                bool usuallyMain = false);

  const std::shared_ptr<Transcript> transcript_ = std::make_shared<Transcript>();
  Device device_;
  Census census_;
  // What the router's platform stands on: doubles that do nothing but what the scenario says.
  NullVEMOLogger logger_;
  NullSystemLog systemLog_;
  ScriptedQueue mainQueue_;
  NullNotificationCenter notifications_;
  ScriptedCrossProcessCenter crossProcess_;
  ScriptedAuthorization authorization_{device_};
  ScriptedAlerts alerts_;
  ScriptedApplication application_{device_};
  ScriptedDownloads downloads_;
  ScriptedDecoder decoder_;
  DeviceVersion version_{device_};
  NullVEMOExtensionLauncher launcher_;
  ScriptedEngineClass engineClass_{device_, census_};
  Recorder recorder_{
      {engineClass_, logger_, systemLog_, mainQueue_, notifications_, crossProcess_, authorization_,
       alerts_, application_, downloads_, decoder_, version_, launcher_, device_.appGroup},
      nullptr,
      transcript_};
  NamedObjects objects_{recorder_.notes()->names()};
  const std::shared_ptr<NotingReplies> replies_ = recorder_.replies(nullptr);
  const std::shared_ptr<VEMOWebView> webView_ =
      std::make_shared<NotingWebView>(recorder_.notes(), std::make_shared<NullVEMOWebView>());
  const std::shared_ptr<DeviceRenderSource> renderSource_ =
      std::make_shared<DeviceRenderSource>(device_, objects_);
  // Both null between "free" and "new"; the base is the router's.
  std::shared_ptr<VEMOKOBUMsgRouter> router_;
  JSMsgRouter* base_ = nullptr;
  std::int64_t step_ = 0;
  std::int64_t part_ = 0;  // which step of the set-up in use; 0 outside one
};

}  // namespace vemo::replay
