#pragma once

#include <cstdint>

#include "bridge/KOBURecords.h"

namespace vemo {

/// A stream of video or audio as it is sent.
struct VideoStream {
  std::uint32_t width = 0;
  std::uint32_t height = 0;
  std::uint32_t fps = 0;
  std::uint32_t bitrate = 0;  ///< kbit/s
};
struct AudioStream {
  std::uint32_t sampleRate = 0;  ///< Hz
  std::uint32_t bitrate = 0;     ///< kbit/s
};

/// Whether an encoder can use `param`: no number is negative or beyond what devices do.
bool isUsable(const KOBUVideoEncParam& param);

// The streams that usable parameters give; what is 0 is chosen by the engine.
VideoStream cameraStream(const KOBUVideoEncParam& param);
VideoStream smallStream(const KOBUVideoEncParam& param);
VideoStream screenStream(const KOBUVideoEncParam& param);

/// By audio quality: 1 speech, 2 normal, 3 music.
AudioStream audioStream(std::int32_t quality);

}  // namespace vemo
