#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "bridge/PWAudioEffectManager.h"
#include "engine/AudioMix.h"
#include "engine/EngineThread.h"

namespace vemo::janus {

/// Plays music into what is heard here and, where asked, into what is sent. Engine thread.
class MusicPlayer {
 public:
  struct Callbacks {
    PWAudioEffectManager::OnStart onStart;
    PWAudioEffectManager::OnProgress onProgress;
    PWAudioEffectManager::OnComplete onComplete;
  };
  struct Mixes {
    std::function<AudioMix&()> playout;  ///< made when it is first asked for
    std::function<AudioMix&()> sent;
  };

  /// `folder`: where paths begin that are not absolute. `onChange`: whether something is published
  /// may be another answer now.
  MusicPlayer(EngineThread& thread, std::string folder, Mixes mixes,
              std::function<void()> onChange);
  ~MusicPlayer();
  MusicPlayer(const MusicPlayer&) = delete;
  MusicPlayer& operator=(const MusicPlayer&) = delete;

  void start(const PWAudioMusicParam& music, Callbacks callbacks);
  void stop(std::int32_t id);
  void stopAll();
  void pause(std::int32_t id);
  void resume(std::int32_t id);
  void seek(std::int32_t id, std::int64_t positionMs);
  void setAllVolume(std::int32_t volume);
  void setPlayoutVolume(std::int32_t id, std::int32_t volume);
  void setPublishVolume(std::int32_t id, std::int32_t volume);

  bool isPublished() const;

 private:
  struct Track;
  std::shared_ptr<Track> playing(std::int32_t id) const;
  void loaded(const std::shared_ptr<Track>& track);
  void atEnd(const std::shared_ptr<Track>& track);
  void failed(const std::shared_ptr<Track>& track, std::int64_t code);
  void erase(const std::shared_ptr<Track>& track);

  EngineThread& thread_;
  const std::string folder_;
  const Mixes mixes_;
  const std::function<void()> onChange_;
  std::map<std::int32_t, std::shared_ptr<Track>> tracks_;
  std::int32_t volume_ = 100;
};

}  // namespace vemo::janus
