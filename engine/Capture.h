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
    /// A source could not be started, or went away, and the next one, if any, is tried.
    std::function<void(const std::string& source, const std::string& why)> onTrouble;
    /// There is no other source.
    std::function<void()> onEnded;
  };

  /// `sources` are GStreamer descriptions, `format` what their samples are turned into. It begins
  /// when this is made; the listener hears of it later.
  Capture(EngineThread& thread, std::vector<std::string> sources, std::string format,
          Listener listener);
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
