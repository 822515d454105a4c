#include "engine/MusicPlayer.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>

#include "bridge/EngineCodes.h"
#include "engine/Gst.h"

namespace vemo::janus {
namespace {

constexpr std::size_t kMostTracks = 16;
constexpr std::chrono::milliseconds kProgressPeriod{200};
constexpr std::int64_t kNanoPerMs = 1'000'000;

std::string addressOf(const std::string& path, const std::filesystem::path& folder) {
  if (gst_uri_is_valid(path.c_str())) return path;
  GError* error = nullptr;
  const GText uri(gst_filename_to_uri((folder / path).c_str(), &error));
  if (error) g_error_free(error);
  return uri ? uri.get() : "";
}

}  // namespace

struct MusicPlayer::Track {
  PWAudioMusicParam music;
  Callbacks callbacks;
  GstRef<GstElement> pipeline;
  std::unique_ptr<AudioMix::Input> playout;
  std::unique_ptr<AudioMix::Input> sent;
  EngineThread::Timer progress;
  EngineThread::Busy busy;  // while it plays, or is to
  bool started = false;
  bool paused = false;
  std::int32_t loopsLeft = 0;
  std::int64_t durationMs = 0;  // 0 while it is not known

  ~Track() { end(); }
  void end() {
    progress.reset();
    busy.reset();
    if (const auto ending = std::move(pipeline)) endPipeline(ending.get());
    playout.reset();
    sent.reset();
    callbacks = {};
  }
  std::int64_t positionMs() const {
    gint64 position = 0;
    gst_element_query_position(pipeline.get(), GST_FORMAT_TIME, &position);
    const auto ms = std::max<std::int64_t>(position / kNanoPerMs, 0);
    return durationMs > 0 ? std::min(ms, durationMs) : ms;
  }
  /// Nothing while it is not known.
  std::optional<std::int64_t> endMs() const {
    if (durationMs == 0) return music.endTimeMs < 0 ? std::nullopt : std::optional(music.endTimeMs);
    return music.endTimeMs < 0 ? durationMs : std::min(music.endTimeMs, durationMs);
  }
  /// Of a file that does not say it, as many of MP3, it is guessed better and better while it
  /// plays.
  void askDuration() {
    gint64 duration = 0;
    if (gst_element_query_duration(pipeline.get(), GST_FORMAT_TIME, &duration)) {
      durationMs = std::max<std::int64_t>(duration / kNanoPerMs, 0);
    }
  }
  /// A stop is given each time: an old one might lie before the new position.
  void seekTo(std::int64_t ms) {
    const auto stop = music.endTimeMs < 0 ? static_cast<gint64>(GST_CLOCK_TIME_NONE)
                                          : music.endTimeMs * kNanoPerMs;
    gst_element_seek(pipeline.get(), 1.0, GST_FORMAT_TIME,
                     static_cast<GstSeekFlags>(GST_SEEK_FLAG_FLUSH | GST_SEEK_FLAG_ACCURATE),
                     GST_SEEK_TYPE_SET, ms * kNanoPerMs, GST_SEEK_TYPE_SET, stop);
  }
};

MusicPlayer::MusicPlayer(EngineThread& thread, std::string folder, Mixes mixes,
                         std::function<void()> onChange)
    : thread_(thread),
      folder_(std::move(folder)),
      mixes_(std::move(mixes)),
      onChange_(std::move(onChange)) {}

MusicPlayer::~MusicPlayer() { stopAll(); }

std::shared_ptr<MusicPlayer::Track> MusicPlayer::playing(std::int32_t id) const {
  const auto found = tracks_.find(id);
  return found == tracks_.end() ? nullptr : found->second;
}

void MusicPlayer::start(const PWAudioMusicParam& music, Callbacks callbacks) {
  stop(music.ID);
  if (tracks_.size() >= kMostTracks) {
    if (callbacks.onStart) callbacks.onStart(kMusicTooMany);
    return;
  }
  auto track = std::make_shared<Track>();
  track->music = music;
  track->callbacks = std::move(callbacks);
  track->loopsLeft = std::max(music.loopCount, 0);
  track->busy = thread_.busy();
  tracks_[music.ID] = track;

  std::string why;
  initialiseGStreamer();
  track->pipeline = parsePipeline(
      "uridecodebin name=from expose-all-streams=false caps=audio/x-raw ! audioconvert ! "
      "audioresample ! " +
          std::string(kSound) + " ! appsink name=out sync=true max-buffers=50",
      why);
  const auto address = addressOf(music.path.value_or(""), folder_);
  if (!track->pipeline || address.empty()) return failed(track, kMusicNotFound);
  g_object_set(elementOf(track->pipeline.get(), "from").get(), "uri", address.c_str(), nullptr);
  track->playout = std::make_unique<AudioMix::Input>(mixes_.playout());
  track->playout->setVolume(volume_);
  if (music.publish) {
    track->sent = std::make_unique<AudioMix::Input>(mixes_.sent());
    track->sent->setVolume(volume_);
  }

  onSamples(elementOf(track->pipeline.get(), "out").get(),
            [&to = *track](GstSample* sample) {  // which ends the pipeline before it dies
              to.playout->push(sample);
              if (to.sent) to.sent->push(sample);
            });

  struct Watch {
    MusicPlayer& self;  // outlives its tracks
    std::weak_ptr<Track> track;
  };
  const GstRef<GstBus> bus(gst_element_get_bus(track->pipeline.get()));
  gst_bus_add_watch_full(
      bus.get(), G_PRIORITY_DEFAULT,
      [](GstBus*, GstMessage* message, gpointer data) -> gboolean {
        const auto& watch = *static_cast<Watch*>(data);
        const auto held = watch.track.lock();
        if (!held || !held->pipeline) return G_SOURCE_REMOVE;
        auto& self = watch.self;
        switch (GST_MESSAGE_TYPE(message)) {
          case GST_MESSAGE_ASYNC_DONE:
            if (!held->started) self.loaded(held);
            break;
          case GST_MESSAGE_EOS: self.atEnd(held); break;
          case GST_MESSAGE_ERROR: self.failed(held, kMusicNotFound); break;
          default: break;
        }
        return held->pipeline ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
      },
      new Watch{*this, track}, [](gpointer data) { delete static_cast<Watch*>(data); });
  gst_element_set_state(track->pipeline.get(), GST_STATE_PAUSED);
}

void MusicPlayer::loaded(const std::shared_ptr<Track>& track) {
  track->started = true;
  track->askDuration();
  const auto& music = track->music;
  const auto end = track->endMs();
  if (music.startTimeMs < 0 || (end && music.startTimeMs >= *end)) {
    return failed(track, kMusicBadRange);
  }
  if (music.startTimeMs > 0 || music.endTimeMs >= 0) track->seekTo(music.startTimeMs);
  if (!track->paused) gst_element_set_state(track->pipeline.get(), GST_STATE_PLAYING);
  std::weak_ptr<Track> weak(track);
  track->progress = thread_.every(kProgressPeriod, [weak] {
    const auto held = weak.lock();
    if (!held || held->paused) return;
    held->askDuration();
    if (!held->callbacks.onProgress) return;
    const auto tell = held->callbacks.onProgress;
    tell(held->positionMs(), held->durationMs);
  });
  if (const auto tell = std::exchange(track->callbacks.onStart, nullptr)) tell(0);
  onChange_();
}

void MusicPlayer::atEnd(const std::shared_ptr<Track>& track) {
  if (track->loopsLeft > 0) {
    --track->loopsLeft;
    track->seekTo(track->music.startTimeMs);
    return;
  }
  const auto busy = track->busy;  // until it was told
  const auto progress = track->callbacks.onProgress;
  const auto complete = track->callbacks.onComplete;
  const auto at = track->endMs().value_or(track->positionMs());
  const auto duration = track->durationMs > 0 ? track->durationMs : at;
  erase(track);
  if (progress) progress(at, duration);
  if (complete) complete(0);
}

void MusicPlayer::failed(const std::shared_ptr<Track>& track, std::int64_t code) {
  const auto busy = track->busy;  // until it was told
  const auto start = track->callbacks.onStart;
  const auto complete = track->callbacks.onComplete;
  erase(track);
  if (start) {
    start(code);
  } else if (complete) {
    complete(code);
  }
}

void MusicPlayer::erase(const std::shared_ptr<Track>& track) {
  tracks_.erase(track->music.ID);
  track->end();
  onChange_();
}

void MusicPlayer::stop(std::int32_t id) {
  if (const auto track = playing(id)) erase(track);
}

void MusicPlayer::stopAll() {
  while (!tracks_.empty()) {
    const auto track = tracks_.begin()->second;
    tracks_.erase(tracks_.begin());
    track->end();
  }
}

void MusicPlayer::pause(std::int32_t id) {
  const auto track = playing(id);
  if (!track || std::exchange(track->paused, true)) return;
  track->busy.reset();
  if (track->started) gst_element_set_state(track->pipeline.get(), GST_STATE_PAUSED);
  onChange_();
}

void MusicPlayer::resume(std::int32_t id) {
  const auto track = playing(id);
  if (!track || !std::exchange(track->paused, false)) return;
  track->busy = thread_.busy();
  if (track->started) gst_element_set_state(track->pipeline.get(), GST_STATE_PLAYING);
  onChange_();
}

void MusicPlayer::seek(std::int32_t id, std::int64_t positionMs) {
  const auto track = playing(id);
  if (!track || !track->started) return;
  track->seekTo(
      std::max<std::int64_t>(std::min(positionMs, track->endMs().value_or(positionMs)), 0));
}

void MusicPlayer::setAllVolume(std::int32_t volume) {
  volume_ = std::clamp(volume, 0, 100);
  for (const auto& [id, track] : tracks_) {
    if (track->playout) track->playout->setVolume(volume_);
    if (track->sent) track->sent->setVolume(volume_);
  }
}

void MusicPlayer::setPlayoutVolume(std::int32_t id, std::int32_t volume) {
  const auto track = playing(id);
  if (track && track->playout) track->playout->setVolume(std::clamp(volume, 0, 100));
}

void MusicPlayer::setPublishVolume(std::int32_t id, std::int32_t volume) {
  const auto track = playing(id);
  if (track && track->sent) track->sent->setVolume(std::clamp(volume, 0, 100));
}

bool MusicPlayer::isPublished() const {
  return std::any_of(tracks_.begin(), tracks_.end(), [](const auto& entry) {
    const auto& track = *entry.second;
    return track.music.publish && track.started && !track.paused;
  });
}

}  // namespace vemo::janus
