#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <string_view>
#include <system_error>

namespace vemo {

/// Writes texts to file descriptors: waits for a pipe or a terminal that takes nothing at
/// the moment, for as long as it takes, until it is told to hurry; from then on it waits
/// two seconds more in all. Used by one thread, save `hurry`.
class PatientWriter {
 public:
  PatientWriter();  ///< throws std::system_error when the system gives it no descriptor
  ~PatientWriter();
  PatientWriter(const PatientWriter&) = delete;
  PatientWriter& operator=(const PatientWriter&) = delete;

  /// Writes `text`; returns how many bytes went out. When that is not all of them,
  /// `problem` says why.
  std::size_t write(int descriptor, std::string_view text, std::error_code& problem);

  /// Ends long waits. Any thread.
  void hurry();

 private:
  bool waitUntilWritable(int descriptor);
  int remainingMilliseconds() const;

  int alarm_ = -1;  // readable once there is no more time
  std::atomic<std::chrono::steady_clock::time_point> deadline_;
};

}  // namespace vemo
