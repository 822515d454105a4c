#pragma once

#include <functional>
#include <memory>
#include <string>

#include "simulation/Client.h"
#include "simulation/World.h"

namespace vemo {

/// The engine's interface to a client: takes the world's lock and says it to the client.
/// When it dies, the client leaves and falls silent.
class SimulatedEngine final : public KOBUCloud, PWAudioEffectManager, KOBUDeviceManager {
 public:
  SimulatedEngine(std::shared_ptr<World> world, std::shared_ptr<Handset> handset);
  ~SimulatedEngine() override;
  SimulatedEngine(const SimulatedEngine&) = delete;
  SimulatedEngine& operator=(const SimulatedEngine&) = delete;

  const std::shared_ptr<Client>& client() const { return client_; }

  void setDelegate(std::shared_ptr<KOBUCloudDelegate> delegate) override;

  // Room
  void enterRoom(const KOBUParams& params, std::int64_t appScene) override;
  void exitRoom() override;
  void switchRole(std::int32_t role) override;
  void setDefaultStreamRecvMode(bool audio, bool video) override;
  void setNetworkQosParam(const KOBUNetworkQosParam& param) override;

  // Local video
  void startLocalPreview(bool frontCamera, std::shared_ptr<NativeView> view) override;
  void stopLocalPreview() override;
  void muteLocalVideo(bool mute) override;
  void setVideoMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps) override;
  void setLocalRenderParams(const KOBURenderParams& params) override;
  void setVideoEncoderParam(const KOBUVideoEncParam& param) override;
  void setVideoEncoderRotation(std::int32_t rotation) override;
  void setVideoEncoderMirror(bool mirror) override;
  void setGSensorMode(std::int32_t mode) override;
  void enableEncSmallVideoStream(bool enable, const KOBUVideoEncParam* quality) override;

  // Local audio
  void startLocalAudio(std::int32_t quality) override;
  void stopLocalAudio() override;
  void muteLocalAudio(bool mute) override;
  void setAudioRoute(std::int32_t route) override;
  void setAudioCaptureVolume(std::int32_t volume) override;
  std::int32_t getAudioCaptureVolume() override;
  void setAudioPlayoutVolume(std::int32_t volume) override;
  std::int32_t getAudioPlayoutVolume() override;
  void enableAudioVolumeEvaluation(std::int32_t intervalMs) override;

  // Other users
  void startRemoteView(const std::string& userId, std::int32_t streamType,
                       std::shared_ptr<NativeView> view) override;
  void stopRemoteView(const std::string& userId, std::int32_t streamType) override;
  void stopAllRemoteView() override;
  void setRemoteVideoStreamType(const std::string& userId, std::int32_t type) override;
  void setRemoteRenderParams(const std::string& userId, std::int32_t streamType,
                             const KOBURenderParams& params) override;
  void muteRemoteVideoStream(const std::string& userId, bool mute) override;
  void muteAllRemoteVideoStreams(bool mute) override;
  void muteRemoteAudio(const std::string& userId, bool mute) override;
  void muteAllRemoteAudio(bool mute) override;
  void setRemoteAudioVolume(const std::string& userId, std::int32_t volume) override;

  PWAudioEffectManager& getAudioEffectManager() override { return *this; }
  KOBUDeviceManager& getDeviceManager() override { return *this; }

  // Diagnostics
  void startSpeedTest(std::uint32_t sdkAppId, const std::string& userId, const std::string& userSig,
                      SpeedTestCompletion completion) override;
  void stopSpeedTest() override;
  void callExperimentalAPI(const std::string& jsonText) override;
  void showDebugView(std::int32_t showType) override;
  void setDebugViewMargin(const std::string& userId, EdgeInsets margin) override;

  // Screen sharing
  void startScreenCaptureInApp(const KOBUVideoEncParam& param) override;
  void startScreenCaptureByReplaykit(const KOBUVideoEncParam& param,
                                     const std::string& appGroup) override;
  std::int64_t pauseScreenCapture() override;
  std::int64_t resumeScreenCapture() override;
  std::int64_t stopScreenCapture() override;

 private:
  // Music
  void startPlayMusic(const PWAudioMusicParam& music, OnStart onStart, OnProgress onProgress,
                      OnComplete onComplete) override;
  void stopPlayMusic(std::int32_t id) override;
  void pausePlayMusic(std::int32_t id) override;
  void resumePlayMusic(std::int32_t id) override;
  void seekMusicToPosInMS(std::int32_t id, std::int32_t positionMs) override;
  void setAllMusicVolume(std::int32_t volume) override;
  void setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) override;
  void setMusicPublishVolume(std::int32_t id, std::int32_t volume) override;

  // Devices
  std::int32_t switchCamera(bool frontCamera) override;

  /// The client, with the world's lock held as long as this lives.
  class Locked {
   public:
    explicit Locked(const SimulatedEngine& engine)
        : guard_(*engine.world_), client_(*engine.client_) {}
    Client* operator->() const { return &client_; }
    Client& operator*() const { return client_; }

   private:
    World::Guard guard_;
    Client& client_;
  };
  Locked locked() const { return Locked(*this); }

  const std::shared_ptr<World> world_;
  const std::shared_ptr<Client> client_;
};

}  // namespace vemo
