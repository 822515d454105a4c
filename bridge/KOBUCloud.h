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
  /// Answered by onSwitchRole.
  virtual void switchRole(std::int32_t role) = 0;
  /// Whether remote audio and video are received without being asked for; takes
  /// effect with the next enter.
  virtual void setDefaultStreamRecvMode(bool audio, bool video) = 0;
  virtual void setNetworkQosParam(const KOBUNetworkQosParam& param) = 0;

  // Local video
  virtual void startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) = 0;
  virtual void stopLocalPreview() = 0;
  virtual void muteLocalVideo(bool mute) = 0;
  /// The picture sent while the camera is muted, at `fps` frames a second; a null
  /// image means none.
  virtual void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) = 0;
  virtual void setLocalRenderParams(const KOBURenderParams& params) = 0;
  virtual void setVideoEncoderParam(const KOBUVideoEncParam& param) = 0;
  virtual void setVideoEncoderRotation(std::int32_t rotation) = 0;
  virtual void setVideoEncoderMirror(bool mirror) = 0;
  virtual void setGSensorMode(std::int32_t mode) = 0;
  /// Whether a small picture is sent beside the main one; `quality` is null when off.
  virtual void enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) = 0;

  // Local audio; volumes are 0 to 100
  virtual void startLocalAudio(std::int32_t quality) = 0;
  virtual void stopLocalAudio() = 0;
  virtual void muteLocalAudio(bool mute) = 0;
  virtual void setAudioRoute(std::int32_t route) = 0;
  virtual void setAudioCaptureVolume(std::int32_t volume) = 0;
  virtual std::int32_t getAudioCaptureVolume() = 0;
  virtual void setAudioPlayoutVolume(std::int32_t volume) = 0;
  virtual std::int32_t getAudioPlayoutVolume() = 0;
  /// onUserVoiceVolume every `intervalMs` milliseconds, taken into the range that the
  /// engine knows; 0 and less turn it off.
  virtual void enableAudioVolumeEvaluation(std::int32_t intervalMs) = 0;

  // Other users
  virtual void startRemoteView(const std::string& userId, std::int32_t streamType,
                               std::shared_ptr<NativeView> view) = 0;
  virtual void stopRemoteView(const std::string& userId, std::int32_t streamType) = 0;
  virtual void stopAllRemoteView() = 0;
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
  virtual void startSpeedTest(std::uint32_t sdkAppId, const std::string& userId,
                              const std::string& userSig, SpeedTestCompletion completion) = 0;
  virtual void stopSpeedTest() = 0;
  /// A JSON text for which there is no typed operation.
  virtual void callExperimentalAPI(const std::string& jsonText) = 0;
  virtual void showDebugView(std::int32_t showType) = 0;
  virtual void setDebugViewMargin(const std::string& userId, EdgeInsets margin) = 0;

  // Screen sharing; the results are 0 on success
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
/// Its users share that instance, and any of them ends it for all: a router that dies
/// does. So the main queue is drained before the next router is made on one engine class.
class KOBUCloudClass {
 public:
  virtual ~KOBUCloudClass() = default;

  virtual std::string getSDKVersion() = 0;

  /// The one instance, made if there is none. Never null.
  virtual std::shared_ptr<KOBUCloud> sharedInstance() = 0;

  /// Lets go of the instance; the next sharedInstance makes a new one. No event is
  /// delivered by the old instance once its last holder has let go. Harmless when
  /// there is none. May be called from an event of the instance itself.
  virtual void destroySharedIntance() = 0;

  virtual void setLogLevel(std::int32_t level) = 0;
  virtual void setConsoleEnabled(bool enabled) = 0;
  virtual void setLogCompressEnabled(bool enabled) = 0;
  virtual void setLogDirPath(const std::string& path) = 0;
};

}  // namespace vemo
