#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "recorder/NoteRing.h"
#include "recorder/NoteStream.h"
#include "simulator/PageSocket.h"

namespace vemo {

/// Tells a page's frame the recording of its phone, line by line as it comes: frames of the kind
/// "recorded" with "text", the first lines being what is in the ring. Signatures are masked. While
/// more than four mebibytes wait to be sent, lines are left out, which a line with "lost" then
/// says. When it is destroyed a last frame with "over" follows. One at a time for a ring.
class LiveRecording {
 public:
  LiveRecording(std::shared_ptr<PageSocket> page, std::shared_ptr<NoteRing> notes);
  ~LiveRecording();
  LiveRecording(const LiveRecording&) = delete;
  LiveRecording& operator=(const LiveRecording&) = delete;

 private:
  void send(std::string_view line);

  const std::shared_ptr<PageSocket> page_;
  bool hasBegun_ = false;
  std::uint64_t lost_ = 0;
  std::unique_ptr<NoteStream> stream_;
};

}  // namespace vemo
