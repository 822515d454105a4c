#include "simulation/Client.h"

namespace vemo {
namespace {

void setStream(Picture& picture, const VideoStream& stream) {
  picture.width = static_cast<std::int32_t>(stream.width);
  picture.height = static_cast<std::int32_t>(stream.height);
  picture.fps = static_cast<std::int32_t>(stream.fps);
}

}  // namespace

Picture Client::ownPicture() const {
  Picture picture;
  picture.drawing = video.renderParams;
  picture.front = video.front;
  if (!cameraReady_) return picture;
  setStream(picture, cameraStream(video.encoder));
  if (!video.muted) {
    picture.kind = PictureKind::live;
  } else if (video.muteImage) {
    picture.kind = PictureKind::muteImage;
    picture.fps = video.muteImageFps;
    picture.muteImage = video.muteImage;
  }
  return picture;
}

Picture Client::pictureIn(const std::string& user, MediaKind kind) const {
  Picture picture;
  if (const auto publisher = room_ ? room_->find(user) : nullptr) {
    if (kind == MediaKind::video) picture = publisher->sent().camera;
    const auto stream = pictureOf(user, kind);
    if (receives(user, kind)) {
      picture.kind = PictureKind::live;
      picture.muteImage = nullptr;
      setStream(picture, stream);
    } else if (picture.kind != PictureKind::muteImage || isCutOff() || !isSeen(user) ||
               isVideoMuted(user)) {
      picture = {};
    }
  }
  const auto drawing = drawings.find({user, kind});
  picture.drawing = drawing == drawings.end() ? KOBURenderParams() : drawing->second;
  return picture;
}

bool Client::isSeen(const std::string& user) const {
  const auto known = known_.find(user);
  return known != known_.end() && known->second.visible;
}

EngineSnapshot Client::snapshot() const {
  EngineSnapshot snapshot;
  snapshot.room = state_;
  snapshot.params = params_;
  snapshot.appScene = scene_;
  snapshot.connected = handset_->isConnected();
  snapshot.autoReceiveAudio = nextReceiveMode.audio;
  snapshot.autoReceiveVideo = nextReceiveMode.video;
  snapshot.video = video;
  snapshot.ownPicture = ownPicture();
  snapshot.audio = audio;
  snapshot.allAudioMuted = allAudioMuted.value_or(false);
  snapshot.allVideoMuted = allVideoMuted.value_or(false);
  for (const auto& [user, known] : known_) {
    if (!known.visible) continue;
    auto& remote = snapshot.users.emplace_back();
    const auto found = wishes.find(user);
    const auto wish = found == wishes.end() ? RemoteWish() : found->second;
    remote.userId = user;
    remote.audioAvailable = known.audio.available;
    remote.videoAvailable = known.video.available;
    remote.subStreamAvailable = known.subStream.available;
    remote.audioMuted = isAudioMuted(user);
    remote.videoMuted = isVideoMuted(user);
    remote.volume = wish.volume;
    remote.heard = heard(user) * static_cast<std::uint32_t>(audio.playoutVolume) / 100;
    remote.preferredStream = wish.preferredStream;
  }
  for (const auto& [key, shown] : views) {
    const auto& [user, kind] = key;
    snapshot.remoteViews.push_back({user, shown.streamType, shown.view, pictureIn(user, kind)});
  }
  snapshot.music = music.snapshot();
  snapshot.capture = capture;
  snapshot.speedTestRunning = speedTest.isRunning();
  snapshot.debugView = debugView;
  snapshot.debugViewMargins = debugViewMargins;
  snapshot.experimentalCalls = experimentalCalls;
  return snapshot;
}

}  // namespace vemo
