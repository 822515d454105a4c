#pragma once

#include <atomic>
#include <boost/json/object.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "bridge/KOBUCloud.h"
#include "engine/AudioMix.h"
#include "engine/Capture.h"
#include "engine/EngineLog.h"
#include "engine/EngineOptions.h"
#include "engine/EngineThread.h"
#include "engine/GivingWay.h"
#include "engine/MusicPlayer.h"
#include "engine/RoomVisit.h"
#include "engine/ScreenCast.h"
#include "engine/SpeedTest.h"
#include "engine/VideoStage.h"

namespace vemo::janus {

inline constexpr std::size_t kLongestUserId = 256;  ///< bytes

/// All that one engine instance is doing: its own camera, microphone, screen and music, the room
/// that it is in, and what it receives of the others. Engine thread, where not said otherwise;
/// the delegate and all completions are called there.
class Conference : public std::enable_shared_from_this<Conference> {
 public:
  Conference(std::shared_ptr<EngineThread> thread, std::shared_ptr<const EngineOptions> options,
             std::shared_ptr<EngineLog> log);
  ~Conference();
  Conference(const Conference&) = delete;
  Conference& operator=(const Conference&) = delete;

  /// No event comes any more. Any thread.
  void silence() { silent_ = true; }
  /// Leaves and ends everything.
  void close();

  void setDelegate(std::weak_ptr<KOBUCloudDelegate> delegate) { delegate_ = std::move(delegate); }

  // Room (Conference.cpp)
  void enter(const KOBUParams& params);
  void exit();
  void switchRole(std::int32_t role);
  void setReceiveMode(bool audio, bool video);
  void setVolumeInterval(std::int32_t intervalMs);
  void experimental(const std::string& jsonText);
  void startSpeedTest(const std::string& userSig,
                      std::shared_ptr<const KOBUCloud::SpeedTestCompletion> completion);
  void stopSpeedTest() { speedTest_.reset(); }

  // Own media (LocalMedia.cpp)
  void startCamera(bool front, std::shared_ptr<NativeView> view);
  void stopCamera();
  void switchCamera(bool front);
  void muteCamera(bool mute);
  void setMuteImage(std::shared_ptr<VEMOImage> image, std::int32_t fps);
  void setLocalDrawing(const KOBURenderParams& params);
  void setCameraEncoding(const KOBUVideoEncParam& param);
  void setGivingWay(const KOBUNetworkQosParam& param);
  void setCameraRotation(std::int32_t rotation);
  void setCameraMirror(bool mirror);
  void setSmallStream(bool enable, const std::optional<KOBUVideoEncParam>& quality);
  void startMicrophone(std::int32_t quality);
  void stopMicrophone();
  void muteMicrophone(bool mute);
  void setCaptureVolume(std::int32_t volume);
  void setPlayoutVolume(std::int32_t volume);
  void setAudioRoute(std::int32_t route);
  void startScreen(const KOBUVideoEncParam& param, std::shared_ptr<std::atomic<int>> state);
  void pauseScreen(bool pause);
  void stopScreen();
  MusicPlayer& music() { return music_; }

  // The others' media (RemoteMedia.cpp)
  void startView(const std::string& user, std::int32_t streamType,
                 std::shared_ptr<NativeView> view);
  void stopView(const std::string& user, std::int32_t streamType);
  void stopAllViews();
  void setStreamType(const std::string& user, std::int32_t type);
  void setRemoteDrawing(const std::string& user, std::int32_t streamType,
                        const KOBURenderParams& params);
  void muteVideo(const std::string& user, bool mute);
  void muteAllVideo(bool mute);
  void muteAudio(const std::string& user, bool mute);
  void muteAllAudio(bool mute);
  void setVolume(const std::string& user, std::int32_t volume);

  // Panels over the videos (DebugPanels.cpp)
  void showPanels(bool on);
  void setPanelMargin(const std::string& user, const EdgeInsets& margin);

  void warn(std::int32_t code, const std::string& text);
  /// A record of what a desktop can't do, and does not.
  void cannot(const std::string& what);

 private:
  class RemoteStream;
  class Outgoing;
  enum class State { outside, entering, inside };
  /// What is known of another user.
  struct Remote {
    Presence presence;
    std::map<Line, std::shared_ptr<RemoteStream>> streams;
  };
  /// What is wanted of a user, here or not. An absent wish leaves it to what is wanted of all.
  struct RemoteWish {
    std::optional<bool> audioMuted;
    std::optional<bool> videoMuted;
    std::int32_t volume = 100;
    bool small = false;
    std::map<Line, std::shared_ptr<NativeView>> views;
    std::map<Line, Drawing> drawings;
    EdgeInsets panelMargin;
  };

  template <class Event>
  void emit(Event event) {
    if (silent_) return;
    if (const auto delegate = delegate_.lock()) event(*delegate);
  }
  /// A callback for another part that runs here if this is there then.
  template <class Call>
  auto bind(Call call) {
    return [weak = weak_from_this(), call](auto&&... arguments) {
      if (const auto self = weak.lock()) call(*self, arguments...);
    };
  }
  /// The same, from whatever thread it is called on.
  template <class Call>
  auto bindPosted(Call call) {
    return [weak = weak_from_this(), thread = std::weak_ptr(thread_), call](auto... arguments) {
      const auto on = thread.lock();
      if (!on) return;
      on->post([weak, call, arguments...] {
        if (const auto self = weak.lock()) call(*self, arguments...);
      });
    };
  }

  // Room
  std::vector<std::string> servers();
  JanusConnection::Settings connectionTo(const std::string& server, const std::string& token) const;
  PeerConnection::Settings connectionForMedia() const;
  RoomVisit::Listener visitListener();
  void entered(std::chrono::steady_clock::time_point since, const RoomVisit::Failure* failure);
  void failEntering(std::int32_t code, const std::string& text);
  void endVisit();
  void learn(const std::string& user, const Presence& presence);
  void gone(const std::string& user, std::int64_t reason);
  void measure();
  void report(const std::vector<RtpCounts>& sent,
              const std::map<Subscriber::Key, RtpCounts>& received);
  void listen();
  /// A user's wishes, made if need be; null, with a warning, when there are too many.
  RemoteWish* wishOf(const std::string& user);

  // Own media
  Presence presence() const;
  /// Tells the others if what is sent has changed.
  void publish();
  /// Keeps in the log what is wrong with devices, and tells it after `sentence` once none is left.
  std::function<void(const std::string& device, const std::string& why, bool isLast)> onTrouble(
      const char* sentence);
  void askForScreen();
  void captureScreen(Capture::Sources sources);
  void setScreenReady(bool ready);
  void startCameraCapture();
  void showMuteImage();
  /// What is sent of `asked` on the network as it is.
  VideoEncoding possible(const VideoEncoding& asked) const;
  void applyEncodings();
  AudioMix& sentMix();
  AudioMix& playoutMix();
  bool accepts(const KOBUVideoEncParam& param);

  // The others' media
  void receive(const std::string& user);
  void receiveAll();

  // Panels over the videos (DebugPanels.cpp)
  void tellPanels(const KOBUStatistics& statistics);
  using Panels = std::map<std::pair<std::string, Line>, std::shared_ptr<const DebugPanel>>;
  /// On all streams: those without one lose theirs.
  void setPanels(const Panels& panels);
  void firstFrame(const std::string& user, Line line, int width, int height);

  const std::shared_ptr<EngineThread> thread_;
  const std::shared_ptr<const EngineOptions> options_;
  const std::shared_ptr<EngineLog> log_;
  std::atomic<bool> silent_ = false;
  std::weak_ptr<KOBUCloudDelegate> delegate_;

  State state_ = State::outside;
  std::shared_ptr<RoomVisit> visit_;
  std::string userId_;
  std::int32_t role_ = kKOBURoleAnchor;
  bool isEngaged_ = false;  // an exit is under way, and an enter waits for it
  std::optional<KOBUParams> nextEnter_;
  bool receiveAudio_ = true, receiveVideo_ = true;
  bool nextReceiveAudio_ = true, nextReceiveVideo_ = true;
  std::int32_t volumeIntervalMs_ = 0;
  EngineThread::Timer measuring_, listening_;
  std::unique_ptr<SpeedTest> speedTest_;
  std::uint64_t sentBefore_ = 0, receivedBefore_ = 0;
  std::map<std::uint32_t, RtpCounts> lastCounts_;
  std::map<std::uint64_t, std::uint64_t> lastFrames_;
  std::uint64_t lastProcessTicks_ = 0, lastIdleTicks_ = 0, lastAllTicks_ = 0;

  const std::shared_ptr<Outgoing> outgoing_;
  std::unique_ptr<ScreenCast> screenCast_;
  std::unique_ptr<Capture> camera_, microphone_, screen_;  // that of the screen goes first
  bool front_ = true;
  bool cameraReady_ = false, cameraMuted_ = false;
  std::shared_ptr<VEMOImage> muteImage_;
  std::int32_t muteImageFps_ = 0;
  EngineThread::Timer muteImageTimer_;
  KOBURenderParams localDrawing_;
  VideoEncoding cameraEncoding_;
  VideoEncoding smallEncoding_{160, 90, 15, 100, 0, false};
  bool small_ = false;
  bool microphoneReady_ = false, microphoneMuted_ = false;
  std::int32_t quality_ = 2;
  std::int32_t captureVolume_ = 100, playoutVolume_ = 100;
  bool screenReady_ = false;
  VideoEncoding screenEncoding_;
  GivingWay givingWay_;
  bool keepsSharp_ = false;
  std::shared_ptr<std::atomic<int>> screenState_;
  std::unique_ptr<AudioMix> sent_, playout_;
  std::unique_ptr<AudioMix::Input> microphoneInput_;
  MusicPlayer music_;

  std::map<std::string, Remote> remotes_;
  std::map<std::string, RemoteWish> wishes_;
  std::optional<bool> allAudioMuted_, allVideoMuted_;
  bool panels_ = false;
};

/// The states of a screen capture, as its starter sees them.
enum ScreenState : int { screenIdle, screenStarting, screenCapturing, screenPaused };

}  // namespace vemo::janus
