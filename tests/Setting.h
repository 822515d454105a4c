#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

namespace vemo {

/// The number in the variable `name` of the environment, by which whoever runs a test makes it
/// longer or another; without one, `usual`. A word that is no number is an exception.
inline std::uint64_t settingOr(const char* name, std::uint64_t usual) {
  const char* const text = std::getenv(name);
  return text ? std::stoull(text) : usual;
}

}  // namespace vemo
