#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "engine/EngineThread.h"
#include "engine/Gst.h"

namespace vemo::janus {

/// A device, or what stands for one, that gives pictures or sound: the first of some sources that
/// can be started. Engine thread, where not said otherwise.
class Capture {
 public:
  struct Listener {
    /// On a streaming thread.
    std::function<void(GstSample* sample)> onSample;
    /// The first sample has come.
    std::function<void()> onStarted;
    /// A device could not be started, or went away; `isLast`: there is no other to try.
    std::function<void(const std::string& device, const std::string& why, bool isLast)> onTrouble;
    /// There is nothing that stands for the last device either.
    std::function<void()> onEnded;
  };
  /// GStreamer descriptions: of devices, and of what stands for them when none can be used, which
  /// may be empty.
  struct Sources {
    std::vector<std::string> devices;
    std::string substitute;
  };

  /// `format` is what samples are turned into. It begins when this is made; the listener hears of
  /// it later.
  Capture(EngineThread& thread, Sources sources, std::string format, Listener listener);
  ~Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  bool isRunning() const;
  /// The description of the source that is used.
  std::string source() const;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace vemo::janus
