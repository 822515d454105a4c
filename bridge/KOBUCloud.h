#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "bridge/ImageDecoder.h"
#include "bridge/KOBUCloudDelegate.h"
#include "bridge/KOBUDeviceManager.h"
#include "bridge/KOBURecords.h"
#include "bridge/PWAudioEffectManager.h"
#include "bridge/VEMOUIRenderSource.h"

namespace vemo {

/// The real-time audio/video engine.
///
/// Threads: every operation may be called from any thread, the engine's own callback
/// thread included, and returns without waiting for the network. Answers come as
/// events of the delegate. Records are taken by value and views and images are kept
/// alive as long as the engine shows them. Numbers are not examined by the caller;
/// what the engine can't use, it ignores or reports through onError or onWarning.
class KOBUCloud {
 public:
  /// Called once for each server measured: its result (null if there is none), how
  /// many are done and how many there are. On the engine's threads.
  using SpeedTestCompletion = std::function<void(Shared<KOBUSpeedTestResult> result,
                                                 std::int64_t completed, std::int64_t total)>;

  virtual ~KOBUCloud() = default;

  /// Makes `delegate` the receiver of events; null for none. Kept weakly. Events
  /// under way on another thread may still reach the former one.
  virtual void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) = 0;

  // Room
  /// Enters a room; answered by onEnterRoom, failures of entering by onError first. An
  /// exit on the way in makes it a failure, answered before the exit is.
  virtual void enterRoom(const KOBUParams& params, std::int64_t appScene) = 0;
  /// Leaves the room; answered by onExitRoom. Outside a room it does nothing.
  virtual void exitRoom() = 0;
  /// Becomes anchor (20) or audience (21); answered by onSwitchRole.
  virtual void switchRole(std::int32_t role) = 0;
  /// Whether remote audio and video are received without being asked for; takes
  /// effect with the next enter.
  virtual void setDefaultStreamRecvMode(bool audio, bool video) = 0;
  /// What is given up first on a poor network.
  virtual void setNetworkQosParam(const KOBUNetworkQosParam& param) = 0;

  // Local video
  /// Starts the camera and shows it in `view`, which may be null: then it is shown nowhere.
  virtual void startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) = 0;
  virtual void stopLocalPreview() = 0;
  /// Stops sending the camera, or sends it again; the preview stays.
  virtual void muteLocalVideo(bool mute) = 0;
  /// The picture sent while the camera is muted, at `fps` frames a second; a null
  /// image means none.
  virtual void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) = 0;
  /// How the own picture is drawn here.
  virtual void setLocalRenderParams(const KOBURenderParams& params) = 0;
  /// How the own picture is sent: size and rates, turned by quarter turns clockwise, mirrored,
  /// and turned with the device, by the engine's numbers.
  virtual void setVideoEncoderParam(const KOBUVideoEncParam& param) = 0;
  virtual void setVideoEncoderRotation(std::int32_t rotation) = 0;
  virtual void setVideoEncoderMirror(bool mirror) = 0;
  virtual void setGSensorMode(std::int32_t mode) = 0;
  /// Whether a small picture is sent beside the main one; `quality` is null when off.
  virtual void enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) = 0;

  // Local audio; volumes are 0 to 100
  /// Starts the microphone; `quality` is 1 speech, 2 default, 3 music.
  virtual void startLocalAudio(std::int32_t quality) = 0;
  virtual void stopLocalAudio() = 0;
  /// Stops sending the microphone, or sends it again.
  virtual void muteLocalAudio(bool mute) = 0;
  /// Where sound is played, by the engine's numbers.
  virtual void setAudioRoute(std::int32_t route) = 0;
  /// The volume of the microphone, and of all that is played here.
  virtual void setAudioCaptureVolume(std::int32_t volume) = 0;
  virtual std::int32_t getAudioCaptureVolume() = 0;
  virtual void setAudioPlayoutVolume(std::int32_t volume) = 0;
  virtual std::int32_t getAudioPlayoutVolume() = 0;
  /// onUserVoiceVolume every `intervalMs` milliseconds, taken into the range that the
  /// engine knows; 0 and less turn it off.
  virtual void enableAudioVolumeEvaluation(std::int32_t intervalMs) = 0;

  // Other users, named by their ids; a user who is not there is no error. Stream types are
  // those of KOBURecords.h, volumes 0 to 100, and muting means not to receive.
  /// Shows a stream in `view`; another view of the same stream replaces it.
  virtual void startRemoteView(const std::string& userId, std::int32_t streamType,
                               std::shared_ptr<NativeView> view) = 0;
  virtual void stopRemoteView(const std::string& userId, std::int32_t streamType) = 0;
  virtual void stopAllRemoteView() = 0;
  /// Which of the camera's pictures is received: 0 the main one, 1 the small one.
  virtual void setRemoteVideoStreamType(const std::string& userId, std::int32_t type) = 0;
  virtual void setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                                     const KOBURenderParams& params) = 0;
  virtual void muteRemoteVideoStream(const std::string& userId, bool mute) = 0;
  virtual void muteAllRemoteVideoStreams(bool mute) = 0;
  virtual void muteRemoteAudio(const std::string& userId, bool mute) = 0;
  virtual void muteAllRemoteAudio(bool mute) = 0;
  virtual void setRemoteAudioVolume(const std::string& userId, std::int32_t volume) = 0;

  // Managers; they belong to the engine
  virtual PWAudioEffectManager& getAudioEffectManager() = 0;
  virtual KOBUDeviceManager& getDeviceManager() = 0;

  // Diagnostics
  /// Measures the network to each server, without a room; another test ends one that runs.
  /// The engine holds `completion` until the test has ended.
  virtual void startSpeedTest(std::uint32_t sdkAppId, const std::string& userId,
                              const std::string& userSig, SpeedTestCompletion completion) = 0;
  virtual void stopSpeedTest() = 0;
  /// A JSON text for which there is no typed operation.
  virtual void callExperimentalAPI(const std::string& jsonText) = 0;
  /// A panel over the videos, by the engine's numbers, 0 for none; and its margins in one
  /// user's view.
  virtual void showDebugView(std::int32_t showType) = 0;
  virtual void setDebugViewMargin(const std::string& userId, EdgeInsets margin) = 0;

  // Screen sharing; the results are 0 on success, else the engine's codes
  /// Captures the application's own screen, or with the broadcast extension, which shares
  /// `appGroup`, the whole device; answered by onScreenCaptureStarted.
  virtual void startScreenCaptureInApp(const KOBUVideoEncParam& param) = 0;
  virtual void startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                             const std::string& appGroup) = 0;
  virtual std::int64_t pauseScreenCapture() = 0;
  virtual std::int64_t resumeScreenCapture() = 0;
  virtual std::int64_t stopScreenCapture() = 0;
};

/// The engine class of one application: its one instance and what can be asked
/// without an instance. Any thread.
///
/// All users of the class share that instance, and each ends it for all of them, as a router
/// does when it dies. So the main queue is drained before the next router is made on the same
/// engine class.
class KOBUCloudClass {
 public:
  virtual ~KOBUCloudClass() = default;

  /// The engine's version, such as "1.0.0".
  virtual std::string getSDKVersion() = 0;

  /// The one instance, made if there is none. Never null.
  virtual std::shared_ptr<KOBUCloud> sharedInstance() = 0;

  /// Lets go of the instance; the next sharedInstance makes a new one. No event is
  /// delivered by the old instance once its last holder has let go. Harmless when
  /// there is none. May be called from an event of the instance itself.
  virtual void destroySharedIntance() = 0;

  /// The engine's own log: how much of it, by the engine's numbers, whether it goes to the
  /// console too, whether its files are compressed, and the folder of these.
  virtual void setLogLevel(std::int32_t level) = 0;
  virtual void setConsoleEnabled(bool enabled) = 0;
  virtual void setLogCompressEnabled(bool enabled) = 0;
  virtual void setLogDirPath(const std::string& path) = 0;
};

}  // namespace vemo
