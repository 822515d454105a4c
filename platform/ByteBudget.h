#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>

namespace vemo {

/// How much somebody may write: `burstBytes` at once, and after that what grows back,
/// `bytesPerSecond`, up to the burst again.
struct ByteRate {
  std::size_t burstBytes = 0;
  std::size_t bytesPerSecond = 0;
};

/// Keeps account of a ByteRate. What is longer than a burst may be taken from a whole one, and
/// runs up a debt of one burst at most: so a single long text passes, too. One thread at a time.
class ByteBudget {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// Begins with `share` of a burst, 0 to 1.
  ByteBudget(ByteRate rate, Time now, double share = 1)
      : burst_(static_cast<double>(rate.burstBytes)),
        perSecond_(static_cast<double>(rate.bytesPerSecond)),
        left_(burst_ * share),
        counted_(now) {}

  /// Takes `bytes`, or nothing when there is too little left; says which.
  bool take(std::size_t bytes, Time now) {
    count(now);
    const auto wanted = static_cast<double>(bytes);
    if (left_ < std::min(wanted, burst_)) return false;
    left_ = std::max(left_ - wanted, -burst_);
    return true;
  }

  /// How much of a burst is left, 0 to 1.
  double share(Time now) {
    count(now);
    return std::max(left_ / burst_, 0.0);
  }

 private:
  void count(Time now) {
    const std::chrono::duration<double> passed = now - counted_;
    left_ = std::min(left_ + passed.count() * perSecond_, burst_);
    counted_ = now;
  }

  double burst_;
  double perSecond_;
  double left_;
  Time counted_;
};

}  // namespace vemo
