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

/// Keeps account of a ByteRate. What is taken may be larger than what is left, as long as
/// anything is left, and runs up a debt of one burst at most: so a single long text passes,
/// too. One thread at a time.
class ByteBudget {
 public:
  using Time = std::chrono::steady_clock::time_point;

  ByteBudget(ByteRate rate, Time now)
      : burst_(static_cast<double>(rate.burstBytes)),
        perSecond_(static_cast<double>(rate.bytesPerSecond)),
        left_(burst_),
        counted_(now) {}

  /// Takes `bytes`, or nothing when none are left; says which.
  bool take(std::size_t bytes, Time now) {
    const std::chrono::duration<double> passed = now - counted_;
    left_ = std::min(left_ + passed.count() * perSecond_, burst_);
    counted_ = now;
    if (left_ <= 0) return false;
    left_ = std::max(left_ - static_cast<double>(bytes), -burst_);
    return true;
  }

 private:
  double burst_;
  double perSecond_;
  double left_;
  Time counted_;
};

}  // namespace vemo
