#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "engine/DeviceRetry.h"
#include "engine/EngineThread.h"
#include "engine/Gst.h"

namespace vemo::janus {

/// How sound travels in the engine.
inline constexpr const char* kSound =
    "audio/x-raw,format=S16LE,rate=48000,channels=2,layout=interleaved";

/// How loud a block of such sound is, 0 to 100 where 100 is the loudest there can be.
int loudnessOf(GstSample* sample);

/// Adds sounds up: those that are sent, or those that are played. Goes on in silence when there
/// are none. Engine thread, where not said otherwise.
class AudioMix {
 public:
  /// One of the sounds, until it is destroyed.
  class Input {
   public:
    explicit Input(AudioMix& mix);
    ~Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// Any thread. Sound that comes faster than it is played is dropped.
    void push(GstSample* sample);
    /// 0 to 100. Any thread.
    void setVolume(int volume);

   private:
    AudioMix& mix_;
    GstRef<GstElement> source_;
    GstRef<GstElement> volume_;
    GstRef<GstPad> pad_;
  };

  struct Listener {
    /// The sink can't be used, from the start or later; not told again until it is back.
    std::function<void(const std::string& why)> onTrouble;
    /// It is used again, and has been for some time.
    std::function<void()> onBack;
  };

  /// The mix goes to `sink`, a GStreamer description; while that can't be used, nowhere, at the
  /// same pace, and it is tried again after ever longer pauses up to eight seconds. Or it goes to
  /// `onSample`, if that is given, on a streaming thread.
  AudioMix(EngineThread& thread, const std::string& sink, std::function<void(GstSample*)> onSample,
           Listener listener);
  ~AudioMix();
  AudioMix(const AudioMix&) = delete;
  AudioMix& operator=(const AudioMix&) = delete;

  /// Of all that is mixed, 0 to 100.
  void setVolume(int volume);

 private:
  /// Whether the mix can go there; otherwise `why` it can't.
  bool playTo(const std::string& sink, std::string& why);
  void failed(const std::string& why);
  void tryAgain();

  EngineThread& thread_;
  const std::string wanted_;
  const std::function<void(GstSample*)> onSample_;
  const Listener listener_;
  GstRef<GstElement> pipeline_;
  GstRef<GstElement> mixer_;
  GstRef<GstElement> volume_;
  GstRef<GstElement> last_;  // before the sink
  GstRef<GstElement> sink_;
  std::atomic<std::uint64_t> played_ = 0;  // blocks, to this sink
  bool isOut_ = false;                     // the sink can't be used, which was told
  DeviceRetry pauses_;
  EngineThread::Timer retry_;
  EngineThread::Timer steady_;  // until the sink is known to be back
};

}  // namespace vemo::janus
