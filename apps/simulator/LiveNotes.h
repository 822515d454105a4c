#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <utility>

#include "platform/SecretMask.h"
#include "recorder/Journal.h"
#include "simulator/PageSocket.h"

namespace vemo {

/// Tells a page's frame what goes into its phone's router and what comes out, in the order in
/// which it happens, while the frame wants to know: frames of the kind "noted" with "at"
/// (milliseconds since the epoch), "thread" and either "step" or "effect", objects as scenarios
/// and transcripts have them (docs/scenarios.md), or "queuedBy": a task of the main queue begins,
/// queued by the step of that number. "number" is the step's own number; of an effect, and of an
/// answer of the device, that of the step or task in which it came. "periodic" is true where it
/// is, or comes of, what comes again and again; its scripts are not told, as the frame gets them.
///
/// While more than a mebibyte waits to be sent, what comes again and again is left out: before
/// the next frame there is one with "lost", how many they were. Signatures are masked, as in
/// the log. Any thread.
class LiveNotes final : public Journal {
 public:
  explicit LiveNotes(std::shared_ptr<PageSocket> page) : page_(std::move(page)) {}

  /// Begins to tell, or ends. It begins off.
  void turn(bool on) { on_ = on; }

  bool isOpen() const override { return on_.load(std::memory_order_relaxed); }
  void note(const Note& note) override;

 private:
  const std::shared_ptr<PageSocket> page_;
  const SecretMask mask_;
  std::atomic<bool> on_ = false;
  std::mutex mutex_;  // held while frames are sent, so that they are in order
  std::uint64_t lost_ = 0;
};

}  // namespace vemo
