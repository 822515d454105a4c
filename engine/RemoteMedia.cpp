#include <algorithm>
#include <utility>

#include "bridge/EngineCodes.h"
#include "engine/Conference.h"
#include "engine/RemoteStream.h"

namespace vemo::janus {
namespace {

constexpr std::size_t kMostUsersKept = 1024;

/// Which of a user's pictures a stream type is of; nothing when it is none.
std::optional<Line> pictureLine(std::int32_t streamType) {
  switch (streamType) {
    case kKOBUStreamTypeMain:
    case kKOBUStreamTypeMainSmall: return Line::camera;
    case kKOBUStreamTypeSub: return Line::screen;
    default: return std::nullopt;
  }
}

}  // namespace

Conference::RemoteWish* Conference::wishOf(const std::string& user) {
  const auto known = wishes_.find(user);
  if (known != wishes_.end()) return &known->second;
  if (user.size() > kLongestUserId) {
    warn(kWarnBadValue, "a user id that is too long");
    return nullptr;
  }
  if (wishes_.size() >= kMostUsersKept) {
    warn(kWarnTooManyUsers, "too many users");
    return nullptr;
  }
  return &wishes_[user];
}

void Conference::receive(const std::string& user) {
  const auto known = remotes_.find(user);
  if (state_ != State::inside || known == remotes_.end()) return;
  auto& remote = known->second;
  const auto wish = wishes_.find(user);
  const auto* wanted = wish == wishes_.end() ? nullptr : &wish->second;
  const auto muted = [](std::optional<bool> own, std::optional<bool> all, bool otherwise) {
    return own.value_or(all.value_or(otherwise));
  };
  const auto isShown = [wanted](Line line) { return wanted && wanted->views.contains(line); };
  const bool sound =
      !muted(wanted ? wanted->audioMuted : std::nullopt, allAudioMuted_, !receiveAudio_);
  const bool picture = !muted(wanted ? wanted->videoMuted : std::nullopt, allVideoMuted_, false);
  const auto decide = [&](Line line, bool available, bool want) {
    auto& stream = remote.streams[line];
    if (!available && stream) stream->begin();  // what comes next has a first frame again
    const bool flows = available && want;
    if (!flows && !stream) return;  // never asked for yet
    if (!stream) {
      stream = std::make_shared<RemoteStream>(
          line == Line::audio ? std::make_unique<AudioMix::Input>(playoutMix()) : nullptr,
          bindPosted([user, line](Conference& self, int width, int height) {
            self.firstFrame(user, line, width, height);
          }));
    }
    if (line == Line::audio) {
      stream->setVolume(wanted ? wanted->volume : 100);
    } else if (wanted) {
      const auto view = wanted->views.find(line);
      stream->stage.setView(view == wanted->views.end() ? nullptr : view->second);
      const auto drawing = wanted->drawings.find(line);
      stream->stage.setDrawing(drawing == wanted->drawings.end() ? Drawing{} : drawing->second);
    }
    stream->setReceived(flows);
    visit_->subscriber().want(
        {user, line},
        {stream, flows, line == Line::camera && remote.presence.small && wanted && wanted->small});
  };
  decide(Line::audio, remote.presence.audio, sound);
  decide(Line::camera, remote.presence.video, picture && (receiveVideo_ || isShown(Line::camera)));
  decide(Line::screen, remote.presence.screen, receiveVideo_ || isShown(Line::screen));
}

void Conference::receiveAll() {
  for (const auto& [user, remote] : remotes_) receive(user);
}

void Conference::firstFrame(const std::string& user, Line line, int width, int height) {
  const auto known = remotes_.find(user);
  if (known == remotes_.end()) return;
  const auto& shown = known->second.presence;
  const bool available = line == Line::audio    ? shown.audio
                         : line == Line::camera ? shown.video
                                                : shown.screen;
  if (!available) {  // the rest of what came before
    if (const auto& stream = known->second.streams[line]) stream->begin();
  } else if (line == Line::audio) {
    emit([&](auto& to) { to.onFirstAudioFrame(user); });
  } else {
    const auto wish = wishes_.find(user);
    const bool small = shown.small && wish != wishes_.end() && wish->second.small;
    const auto type = line == Line::screen ? kKOBUStreamTypeSub
                      : small              ? kKOBUStreamTypeMainSmall
                                           : kKOBUStreamTypeMain;
    emit([&](auto& to) { to.onFirstVideoFrame(user, type, width, height); });
  }
}

void Conference::startView(const std::string& user, std::int32_t streamType,
                           std::shared_ptr<NativeView> view) {
  const auto line = pictureLine(streamType);
  if (!line) return warn(kWarnBadValue, "unknown stream type");
  auto* wish = wishOf(user);
  if (!wish) return;
  if (*line == Line::camera) wish->small = streamType == kKOBUStreamTypeMainSmall;
  wish->views[*line] = std::move(view);
  receive(user);
}

void Conference::stopView(const std::string& user, std::int32_t streamType) {
  const auto line = pictureLine(streamType);
  if (!line) return warn(kWarnBadValue, "unknown stream type");
  const auto wish = wishes_.find(user);
  if (wish == wishes_.end() || wish->second.views.erase(*line) == 0) return;
  receive(user);
}

void Conference::stopAllViews() {
  for (auto& [user, wish] : wishes_) {
    wish.views.clear();
    receive(user);
  }
}

void Conference::setStreamType(const std::string& user, std::int32_t type) {
  if (type != kKOBUStreamTypeMain && type != kKOBUStreamTypeMainSmall) {
    return warn(kWarnBadValue, "unknown stream type");
  }
  if (auto* wish = wishOf(user)) {
    wish->small = type == kKOBUStreamTypeMainSmall;
    receive(user);
  }
}

void Conference::setRemoteDrawing(const std::string& user, std::int32_t streamType,
                                  const KOBURenderParams& params) {
  const auto line = pictureLine(streamType);
  if (!line) return warn(kWarnBadValue, "unknown stream type");
  if (auto* wish = wishOf(user)) {
    wish->drawings[*line] = {params.fillMode == 1,
                             orientationOf(params.rotation, params.mirrorType == 1)};
    receive(user);
  }
}

void Conference::muteVideo(const std::string& user, bool mute) {
  if (auto* wish = wishOf(user)) {
    wish->videoMuted = mute;
    receive(user);
  }
}

void Conference::muteAllVideo(bool mute) {
  allVideoMuted_ = mute;
  for (auto& [user, wish] : wishes_) wish.videoMuted.reset();
  receiveAll();
}

void Conference::muteAudio(const std::string& user, bool mute) {
  if (auto* wish = wishOf(user)) {
    wish->audioMuted = mute;
    receive(user);
  }
}

void Conference::muteAllAudio(bool mute) {
  allAudioMuted_ = mute;
  for (auto& [user, wish] : wishes_) wish.audioMuted.reset();
  receiveAll();
}

void Conference::setVolume(const std::string& user, std::int32_t volume) {
  if (auto* wish = wishOf(user)) {
    wish->volume = std::clamp(volume, 0, 100);
    receive(user);
  }
}

}  // namespace vemo::janus
