#include "classroom/TestMedia.h"

#include <array>
#include <string>

namespace vemo {

void useTestMedia(EngineOptions& options, std::size_t window) {
  // A ball that moves on a colour.
  constexpr std::array<const char*, 6> kColours{"0xff9c3030", "0xff2f6f3f", "0xff2f4f9c",
                                                "0xff8a6d1f", "0xff6b3f8f", "0xff1f7a80"};
  constexpr int kLowest = 330;  // Hz
  constexpr int kStep = 110;
  const auto picture = [&](std::size_t number) {
    return std::string("videotestsrc is-live=true pattern=ball background-color=") +
           kColours.at(number % kColours.size()) +
           " ! video/x-raw,width=640,height=400,framerate=15/1";
  };
  options.frontCamera = {picture(window)};
  options.backCamera = {picture(window + kColours.size() / 2)};
  options.microphone = {
      "audiotestsrc is-live=true volume=0.2 samplesperbuffer=480 freq=" +
      std::to_string(kLowest + kStep * static_cast<int>(window % kColours.size()))};
  options.screen = {
      "videotestsrc is-live=true pattern=smpte ! video/x-raw,width=1280,height=720,framerate=10/1"};
  options.speaker = "fakesink sync=true";
}

}  // namespace vemo
