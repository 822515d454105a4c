#pragma once

#include <cstdint>
#include <functional>

#include "bridge/KOBURecords.h"

namespace vemo {

/// The engine's music player. Belongs to the engine and lives as long as it.
///
/// Threads: any; callbacks arrive on the engine's threads, one at a time. An
/// operation on an id that is not playing does nothing.
class PWAudioEffectManager {
 public:
  using OnStart = std::function<void(std::int64_t errCode)>;
  using OnProgress = std::function<void(std::int64_t progressMs, std::int64_t durationMs)>;
  using OnComplete = std::function<void(std::int64_t errCode)>;

  virtual ~PWAudioEffectManager() = default;

  /// Starts `music` and returns at once; started again under the same id, it begins
  /// anew. `onStart` is called once with 0 or an error code; `onProgress` while the
  /// music plays; `onComplete` once at its end with 0 or an error code. The engine
  /// holds the callbacks until the music has ended or was stopped.
  virtual void startPlayMusic(const PWAudioMusicParam& music, OnStart onStart,
                              OnProgress onProgress, OnComplete onComplete) = 0;
  /// A stop ends the music without onComplete; a pause keeps the place for resumePlayMusic.
  virtual void stopPlayMusic(std::int32_t id) = 0;
  virtual void pausePlayMusic(std::int32_t id) = 0;
  virtual void resumePlayMusic(std::int32_t id) = 0;
  /// Goes on at `positionMs` milliseconds of the music.
  virtual void seekMusicToPosInMS(std::int32_t id, std::int32_t positionMs) = 0;
  /// Volumes are 0 to 100; 100 is the recording's own: of all music, of one for the own user,
  /// and of one for the others.
  virtual void setAllMusicVolume(std::int32_t volume) = 0;
  virtual void setMusicPlayoutVolume(std::int32_t id, std::int32_t volume) = 0;
  virtual void setMusicPublishVolume(std::int32_t id, std::int32_t volume) = 0;
};

}  // namespace vemo
