#pragma once

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <string>
#include <vector>

namespace vemo {

/// Writes a WAV file with tones of these pitches, in Hz, one after the other.
inline void writeTones(const std::filesystem::path& path, const std::vector<int>& pitches,
                       int secondsEach) {
  constexpr std::uint32_t kRate = 48'000;
  const auto each = kRate * static_cast<std::uint32_t>(secondsEach);
  const auto samples = each * static_cast<std::uint32_t>(pitches.size());
  const std::uint32_t bytes = samples * 2;
  std::string wav;
  const auto add = [&wav](std::uint32_t value, int size) {
    for (int i = 0; i < size; ++i) wav += static_cast<char>((value >> (8 * i)) & 0xFFU);
  };
  wav += "RIFF";
  add(36 + bytes, 4);
  wav += "WAVEfmt ";
  add(16, 4);         // size of the format
  add(1, 2);          // plain samples
  add(1, 2);          // one channel
  add(kRate, 4);      // samples a second
  add(kRate * 2, 4);  // bytes a second
  add(2, 2);          // bytes of a sample
  add(16, 2);         // bits of a sample
  wav += "data";
  add(bytes, 4);
  for (std::uint32_t i = 0; i < samples; ++i) {
    const double angle = 2 * std::numbers::pi * pitches[i / each] * (i % each) / kRate;
    add(static_cast<std::uint16_t>(static_cast<std::int16_t>(16'000 * std::sin(angle))), 2);
  }
  std::ofstream(path, std::ios::binary) << wav;
}

/// Writes a WAV file with a tone of `pitch` Hz.
inline void writeTone(const std::filesystem::path& path, int pitch, int seconds) {
  writeTones(path, {pitch}, seconds);
}

}  // namespace vemo
