#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "engine/EngineThread.h"

namespace vemo {

/// The desktop's camera portal, org.freedesktop.portal.Camera, which asks the user whether this
/// program may use cameras, or knows it. Any thread.
class CameraPortal {
 public:
  struct Settings {
    std::string bus{};                                 ///< address; empty: the session's
    std::chrono::milliseconds answerTimeout{10'000};   ///< of the bus and the portal
    std::chrono::milliseconds choiceTimeout{300'000};  ///< of the user
  };
  enum class Answer {
    allowed,
    refused,  ///< by the user
    none,     ///< there is no portal, or it did not come to an answer
  };
  /// Held as long as the answer is waited for: with the last holder the dialog goes away.
  using Question = std::shared_ptr<void>;

  explicit CameraPortal(Settings settings);

  /// `answered` is called once, on a thread of the portal's own; not, or only if it was under way,
  /// once the question is let go of.
  [[nodiscard]] Question ask(std::function<void(Answer answer)> answered) const;

 private:
  const Settings settings_;
  const std::shared_ptr<EngineThread> thread_;
};

}  // namespace vemo
