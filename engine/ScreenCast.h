#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "engine/Capture.h"
#include "engine/EngineThread.h"

namespace vemo::janus {

/// A share of the screen by the desktop's screencast portal, org.freedesktop.portal.ScreenCast: the
/// user picks in a dialog of the desktop's what is shared, and may end it there. Engine thread.
class ScreenCast {
 public:
  struct Settings {
    std::string bus;                          ///< address; empty: the session's
    std::chrono::milliseconds answerTimeout;  ///< of the bus and the portal
    std::chrono::milliseconds choiceTimeout;  ///< of the user
  };
  /// One of the last two is the last that is heard.
  struct Listener {
    /// The user has picked; from this it can be captured.
    std::function<void(Capture::Sources)> onReady;
    /// There is no share: it was not allowed, can't be had, or broke off.
    std::function<void(const std::string& why)> onFailed;
    /// It was ended at the desktop after it was ready.
    std::function<void()> onClosed;
  };

  /// Asks at once; the listener hears of it later.
  ScreenCast(EngineThread& thread, Settings settings, Listener listener);
  /// Ends the share, or takes the dialog away.
  ~ScreenCast();
  ScreenCast(const ScreenCast&) = delete;
  ScreenCast& operator=(const ScreenCast&) = delete;

 private:
  struct State;
  const std::shared_ptr<State> state_;
};

}  // namespace vemo::janus
