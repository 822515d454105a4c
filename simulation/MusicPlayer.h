#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <vector>

#include "bridge/PWAudioEffectManager.h"
#include "simulation/EngineSnapshot.h"
#include "simulation/World.h"

namespace vemo {

class Client;

/// The music of one client. Part of the world, as the client is.
class MusicPlayer {
 public:
  using Time = std::chrono::milliseconds;

  struct Callbacks {
    PWAudioEffectManager::OnStart onStart;
    PWAudioEffectManager::OnProgress onProgress;
    PWAudioEffectManager::OnComplete onComplete;
  };

  explicit MusicPlayer(Client& client) : client_(client) {}

  /// `duration` is that of the recording; nothing when there is none at the path.
  void start(const PWAudioMusicParam& music, std::shared_ptr<const Callbacks> callbacks,
             std::optional<Time> duration);
  void stop(std::int32_t id);
  void pause(std::int32_t id);
  void resume(std::int32_t id);
  void seek(std::int32_t id, Time position);
  void setAllVolume(std::int32_t volume);
  void setPlayoutVolume(std::int32_t id, std::int32_t volume);
  void setPublishVolume(std::int32_t id, std::int32_t volume);
  /// Stops everything.
  void close();

  /// Whether music plays that the others are meant to hear.
  bool isPublished() const;
  std::vector<MusicSnapshot> snapshot() const;

 private:
  struct Track {
    PWAudioMusicParam music;
    std::shared_ptr<const Callbacks> callbacks;
    Timer timer;
    bool started = false;
    bool paused = false;
    Time duration{0};
    Time end{0};
    Time position{0};  // at `since`
    Time since{0};
    std::int32_t loopsLeft = 0;
    std::int32_t playoutVolume = 100;
    std::int32_t publishVolume = 100;
  };
  using Tracks = std::map<std::int32_t, Track>;

  void begin(Track& track, std::optional<Time> duration);
  void tick(Track& track);
  /// Plays from `position` on.
  void play(Track& track, Time position);
  Time positionOf(const Track& track) const;
  /// Runs `step` on `track` after `delay`, in place of what it waits for.
  template <class Step>
  void later(Time delay, Track& track, Step step);
  void reportProgress(const Track& track, Time position);
  void erase(Tracks::iterator track);
  Track* playing(std::int32_t id);

  Client& client_;
  Tracks tracks_;
  std::int32_t volume_ = 100;  // of music that is started
};

}  // namespace vemo
