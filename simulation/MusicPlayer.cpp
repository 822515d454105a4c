#include "simulation/MusicPlayer.h"

#include <algorithm>
#include <utility>

#include "bridge/EngineCodes.h"
#include "simulation/Client.h"

namespace vemo {
namespace {

constexpr Clock::Time kLoading{50};
constexpr Clock::Time kProgressPeriod{200};

}  // namespace

void MusicPlayer::start(const PWAudioMusicParam& music, std::shared_ptr<const Callbacks> callbacks,
                        std::optional<Time> duration) {
  stop(music.ID);
  if (tracks_.size() >= kMostMusic) {
    client_.callBackTo(callbacks, true, [](auto& to) {
      if (to.onStart) to.onStart(kMusicTooMany);
    });
    client_.world().discard(std::move(callbacks));
    return;
  }
  auto& track = tracks_[music.ID];
  track.music = music;
  track.callbacks = std::move(callbacks);
  track.loopsLeft = std::max(music.loopCount, 0);
  track.playoutVolume = track.publishVolume = volume_;
  later(kLoading, track,
        [duration](MusicPlayer& self, Track& loaded) { self.begin(loaded, duration); });
}

void MusicPlayer::begin(Track& track, std::optional<Time> duration) {
  const auto& music = track.music;
  std::int64_t code = 0;
  if (duration) {
    track.duration = *duration;
    track.end = music.endTimeMs < 0 ? *duration : std::min(Time(music.endTimeMs), *duration);
    if (music.startTimeMs < 0 || Time(music.startTimeMs) >= track.end) code = kMusicBadRange;
  } else {
    code = kMusicNotFound;
  }
  client_.callBackTo(track.callbacks, code != 0, [code](auto& to) {
    if (to.onStart) to.onStart(code);
  });
  if (code != 0) {
    erase(tracks_.find(music.ID));
    return;
  }
  track.started = true;
  track.position = Time(music.startTimeMs);
  if (!track.paused) play(track, track.position);
  client_.publish();
}

void MusicPlayer::play(Track& track, Time position) {
  track.paused = false;
  track.position = position;
  track.since = client_.world().now();
  later(std::min(kProgressPeriod, track.end - position), track,
        [](MusicPlayer& self, Track& playing) { self.tick(playing); });
}

void MusicPlayer::tick(Track& track) {
  const auto position = positionOf(track);
  reportProgress(track, position);
  if (position < track.end) {
    play(track, position);
  } else if (track.loopsLeft > 0) {
    --track.loopsLeft;
    play(track, Time(track.music.startTimeMs));
  } else {
    client_.callBackTo(track.callbacks, true, [](auto& to) {
      if (to.onComplete) to.onComplete(0);
    });
    erase(tracks_.find(track.music.ID));
  }
}

MusicPlayer::Time MusicPlayer::positionOf(const Track& track) const {
  if (!track.started || track.paused) return track.position;
  return std::min(track.position + (client_.world().now() - track.since), track.end);
}

template <class Step>
void MusicPlayer::later(Time delay, Track& track, Step step) {
  client_.later(delay, track.timer, [id = track.music.ID, step](Client& owner) {
    auto& self = owner.music;
    step(self, self.tracks_.at(id));
  });
}

void MusicPlayer::reportProgress(const Track& track, Time position) {
  client_.callBackTo(track.callbacks, false,
                     [position = position.count(), duration = track.duration.count()](auto& to) {
                       if (to.onProgress) to.onProgress(position, duration);
                     });
}

void MusicPlayer::erase(Tracks::iterator track) {
  client_.world().discard(std::move(track->second.callbacks));
  tracks_.erase(track);
  client_.publish();
}

MusicPlayer::Track* MusicPlayer::playing(std::int32_t id) {
  const auto found = tracks_.find(id);
  return found == tracks_.end() ? nullptr : &found->second;
}

void MusicPlayer::stop(std::int32_t id) {
  if (const auto found = tracks_.find(id); found != tracks_.end()) erase(found);
}

void MusicPlayer::pause(std::int32_t id) {
  auto* track = playing(id);
  if (!track || track->paused) return;
  track->position = positionOf(*track);
  track->paused = true;
  if (!track->started) return;  // it begins paused
  track->timer.reset();
  client_.publish();
}

void MusicPlayer::resume(std::int32_t id) {
  auto* track = playing(id);
  if (!track || !track->paused) return;
  track->paused = false;
  if (!track->started) return;
  play(*track, track->position);
  client_.publish();
}

void MusicPlayer::seek(std::int32_t id, Time position) {
  auto* track = playing(id);
  if (!track || !track->started) return;
  const auto target = std::clamp(position, Time(0), track->end);
  if (track->paused) {
    track->position = target;
  } else {
    play(*track, target);
  }
}

void MusicPlayer::setAllVolume(std::int32_t volume) {
  volume_ = volumeWithin(volume);
  for (auto& [id, track] : tracks_) track.playoutVolume = track.publishVolume = volume_;
}

void MusicPlayer::setPlayoutVolume(std::int32_t id, std::int32_t volume) {
  if (auto* track = playing(id)) track->playoutVolume = volumeWithin(volume);
}

void MusicPlayer::setPublishVolume(std::int32_t id, std::int32_t volume) {
  if (auto* track = playing(id)) track->publishVolume = volumeWithin(volume);
}

void MusicPlayer::close() {
  for (auto& [id, track] : tracks_) client_.world().discard(std::move(track.callbacks));
  tracks_.clear();
}

bool MusicPlayer::isPublished() const {
  return std::any_of(tracks_.begin(), tracks_.end(), [](const auto& entry) {
    const auto& track = entry.second;
    return track.music.publish && track.started && !track.paused;
  });
}

std::vector<MusicSnapshot> MusicPlayer::snapshot() const {
  std::vector<MusicSnapshot> snapshots;
  for (const auto& [id, track] : tracks_) {
    snapshots.push_back({track.music, track.paused, positionOf(track).count(),
                         track.duration.count(), track.loopsLeft, track.playoutVolume,
                         track.publishVolume});
  }
  return snapshots;
}

}  // namespace vemo
