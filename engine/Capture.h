#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/EngineThread.h"
#include "engine/Gst.h"

namespace vemo::janus {

/// A device, or what stands for one, that gives pictures or sound: the first of some sources that
/// can be started. Where it is asked for, devices are tried again while another thing stands for
/// them, and the first that gives something takes its place. Engine thread, where not said
/// otherwise.
class Capture {
 public:
  struct Listener {
    /// On a streaming thread.
    std::function<void(GstSample* sample)> onSample;
    /// The first sample has come.
    std::function<void()> onStarted;
    /// A device could not be started, or went away; `isLast`: there is no other to try. Of those
    /// that are tried again it is not told.
    std::function<void(const std::string& device, const std::string& why, bool isLast)> onTrouble;
    /// There is nothing that stands for the last device either.
    std::function<void()> onEnded;
    /// A device that was tried again is used, and has been for some time.
    std::function<void(const std::string& device)> onBack{};
  };
  /// GStreamer descriptions: of devices, and of what stands for them when none can be used, which
  /// may be empty.
  struct Sources {
    std::vector<std::string> devices;
    std::string substitute;
    bool triesAgain = false;  ///< devices, while the substitute is used
    /// If set, to start and to end a device may wait for others, so both are done on another
    /// thread; this ends such a wait, at once that of a start that is no longer wanted, and that of
    /// an end after a moment. It is held until the device has been ended.
    std::function<void()> wake{};
  };

  /// `format` is what samples are turned into. It begins when this is made; the listener hears of
  /// it later.
  Capture(EngineThread& thread, Sources sources, std::string format, Listener listener);
  ~Capture();
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

 private:
  struct Elsewhere;
  struct Run;
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace vemo::janus
