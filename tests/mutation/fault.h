#pragma once

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <string>
#include <type_traits>
#include <vector>

// What sources that mutate.py has rewritten call. One fault of the program can be switched on by
// VEMO_FAULT; with VEMO_FAULTS_RUN the faults that the program came by are added to that file.

namespace vemoFault {

inline int chosen() {
  static const int number = [] {
    const char* text = std::getenv("VEMO_FAULT");
    return text ? std::atoi(text) : 0;
  }();
  return number;
}

/// The faults that were come by, told at once: a process may end without ceremony.
class Passed {
 public:
  void at(int number) {
    if (!path_ || passed_.at(static_cast<std::size_t>(number)).exchange(true)) return;
    std::ofstream(path_, std::ios::app) << std::to_string(number) + '\n';
  }

 private:
  const char* const path_ = std::getenv("VEMO_FAULTS_RUN");
  std::vector<std::atomic<bool>> passed_ = std::vector<std::atomic<bool>>(100'000);
};
inline Passed passed;

constexpr bool on(int number) {
  if (std::is_constant_evaluated()) return false;
  passed.at(number);
  return chosen() == number;
}

template <class Condition>
constexpr bool holds(int always, int never, Condition&& condition) {
  const bool sure = on(always);
  return !on(never) && (sure || condition());
}

template <class T>
constexpr T more(int number, T value) {
  return on(number) ? static_cast<T>(value + 1) : value;
}

}  // namespace vemoFault
