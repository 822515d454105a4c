#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/ImageDecoder.h"
#include "bridge/KOBURecords.h"
#include "bridge/VEMOUIRenderSource.h"
#include "simulation/LocalMedia.h"

namespace vemo {

// Snapshots of the simulated engine: its state at one moment as plain values, for tests and
// for whoever draws it. Nothing in them changes afterwards.

enum class RoomState { outside, entering, inside };

/// What a view shows.
enum class PictureKind { none, live, muteImage };

/// The picture in a view: what it is of and how it is drawn.
struct Picture {
  PictureKind kind = PictureKind::none;
  std::int32_t width = 0;  ///< of the stream, in pixels
  std::int32_t height = 0;
  std::int32_t fps = 0;                  ///< 0: it stands still
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

/// What a client knows of another user in its room, and how it receives it.
struct RemoteUserSnapshot {
  std::string userId;
  bool audioAvailable = false;
  bool videoAvailable = false;
  bool subStreamAvailable = false;
  bool audioMuted = false;  ///< by this client
  bool videoMuted = false;
  std::int32_t volume = 100;         ///< of its audio on this handset, 0 to 100
  std::uint32_t heard = 0;           ///< how loud it is on this handset now, 0 to 100
  std::int32_t preferredStream = 0;  ///< 0 the main picture, 1 the small one
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

/// One engine instance.
struct EngineSnapshot {
  RoomState room = RoomState::outside;
  KOBUParams params;  ///< of the last enter; the role is the present one
  std::int64_t appScene = 0;
  bool connected = true;
  bool autoReceiveAudio = true;
  bool autoReceiveVideo = true;
  LocalVideo video;
  Picture ownPicture;  ///< in video.view
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

/// A room and who is in it, audience included.
struct RoomSnapshot {
  std::uint32_t sdkAppId = 0;
  std::uint32_t roomId = 0;
  std::vector<std::string> users;  ///< in order of entering
};

}  // namespace vemo
