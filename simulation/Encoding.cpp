#include "simulation/Encoding.h"

namespace vemo {
namespace {

constexpr std::int32_t kLargestSide = 4096;
constexpr std::int32_t kHighestFps = 60;
constexpr std::int32_t kHighestBitrate = 20'000;

bool isWithin(std::int32_t value, std::int32_t highest) { return value >= 0 && value <= highest; }

VideoStream streamOf(const KOBUVideoEncParam& param, const VideoStream& usual) {
  const auto chosen = [](std::int32_t value, std::uint32_t otherwise) {
    return value > 0 ? static_cast<std::uint32_t>(value) : otherwise;
  };
  VideoStream stream = usual;
  if (param.width > 0 && param.height > 0) {
    stream.width = chosen(param.width, 0);
    stream.height = chosen(param.height, 0);
  }
  stream.fps = chosen(param.fps, usual.fps);
  stream.bitrate = chosen(param.bitrate, usual.bitrate);
  return stream;
}

}  // namespace

bool isUsable(const KOBUVideoEncParam& param) {
  return isWithin(param.width, kLargestSide) && isWithin(param.height, kLargestSide) &&
         isWithin(param.fps, kHighestFps) && isWithin(param.bitrate, kHighestBitrate) &&
         isWithin(param.minBitrate, kHighestBitrate);
}

VideoStream cameraStream(const KOBUVideoEncParam& param) {
  return streamOf(param, {640, 360, 15, 500});
}

VideoStream smallStream(const KOBUVideoEncParam& param) {
  return streamOf(param, {160, 90, 15, 100});
}

VideoStream screenStream(const KOBUVideoEncParam& param) {
  return streamOf(param, {1280, 720, 10, 1000});
}

AudioStream audioStream(std::int32_t quality) {
  switch (quality) {
    case 1: return {16'000, 16};
    case 3: return {48'000, 128};
    default: return {48'000, 50};
  }
}

}  // namespace vemo
