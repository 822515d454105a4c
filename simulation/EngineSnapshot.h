#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/ImageDecoder.h"
#include "bridge/KOBURecords.h"
#include "bridge/VEMOUIRenderSource.h"

namespace vemo {

// The state of the simulated engine as plain values, for tests and for whoever draws it.

enum class RoomState { outside, entering, inside };

enum class CaptureState { idle, capturing, paused };

/// What a view shows.
enum class PictureKind { none, live, muteImage };

/// The picture in a view: what it is of and how it is drawn.
struct Picture {
  PictureKind kind = PictureKind::none;
  std::int32_t width = 0;  ///< of the stream, in pixels
  std::int32_t height = 0;
  std::int32_t fps = 0;
  bool front = false;                    ///< a front camera's picture
  std::int32_t rotation = 0;             ///< turned by the sender, in quarter turns
  bool mirror = false;                   ///< mirrored by the sender
  KOBURenderParams drawing;              ///< turned, filled and mirrored by the viewer
  std::shared_ptr<VEMOImage> muteImage;  ///< where that is shown
};

/// A view in which another user's stream is shown.
struct RemoteViewSnapshot {
  std::string userId;
  std::int32_t streamType = 0;
  std::shared_ptr<NativeView> view;
  Picture picture;
};

/// What a phone knows of another user in its room, and how it receives it.
struct RemoteUserSnapshot {
  std::string userId;
  bool audioAvailable = false;
  bool videoAvailable = false;
  bool subStreamAvailable = false;
  bool audioMuted = false;  ///< by this phone
  bool videoMuted = false;
  std::int32_t volume = 100;         ///< of its audio on this phone, 0 to 100
  std::uint32_t heard = 0;           ///< how loud it is on this phone now, 0 to 100
  std::int32_t preferredStream = 0;  ///< 0 the main picture, 1 the small one
};

struct LocalVideo {
  bool cameraOn = false;
  bool front = true;
  bool muted = false;
  std::shared_ptr<NativeView> view;
  Picture picture;  ///< what the own view shows
  std::shared_ptr<VEMOImage> muteImage;
  std::int32_t muteImageFps = 0;
  KOBUVideoEncParam encoder;
  std::int32_t encoderRotation = 0;
  bool encoderMirror = false;
  std::int32_t sensorMode = 0;
  KOBURenderParams renderParams;
  std::optional<KOBUVideoEncParam> smallStream;  ///< present when it is sent
  KOBUNetworkQosParam qos;
};

struct LocalAudio {
  bool microphoneOn = false;
  std::int32_t quality = 0;
  bool muted = false;
  std::int32_t captureVolume = 100;
  std::int32_t playoutVolume = 100;
  std::int32_t route = 0;
  std::int32_t volumeIntervalMs = 0;  ///< 0: no volume events
};

struct MusicSnapshot {
  PWAudioMusicParam music;
  bool paused = false;
  std::int64_t positionMs = 0;
  std::int64_t durationMs = 0;
  std::int32_t loopsLeft = 0;
  std::int32_t playoutVolume = 100;
  std::int32_t publishVolume = 100;
};

struct ScreenCapture {
  CaptureState state = CaptureState::idle;
  bool broadcast = false;  ///< by the broadcast extension, else inside the application
  std::string appGroup;
  KOBUVideoEncParam encoder;
};

/// The engine of one phone.
struct EngineSnapshot {
  RoomState room = RoomState::outside;
  KOBUParams params;  ///< of the last enter; the role is the present one
  std::int64_t appScene = 0;
  bool connected = true;
  bool autoReceiveAudio = true;
  bool autoReceiveVideo = true;
  LocalVideo video;
  LocalAudio audio;
  std::vector<RemoteUserSnapshot> users;        ///< by user id
  std::vector<RemoteViewSnapshot> remoteViews;  ///< by user id and stream type
  bool allAudioMuted = false;
  bool allVideoMuted = false;
  std::vector<MusicSnapshot> music;  ///< by id
  ScreenCapture capture;
  bool speedTestRunning = false;
  std::int32_t debugView = 0;
  std::map<std::string, EdgeInsets> debugViewMargins;
  std::vector<std::string> experimentalCalls;  ///< the latest known ones, oldest first
};

/// What an engine class was told without an instance.
struct LogSettings {
  std::int32_t level = 0;
  bool console = false;
  bool compress = true;
  std::string directory;
};

/// A room and who is in it, audience included.
struct RoomSnapshot {
  std::uint32_t sdkAppId = 0;
  std::uint32_t roomId = 0;
  std::vector<std::string> users;  ///< in order of entering
};

}  // namespace vemo
