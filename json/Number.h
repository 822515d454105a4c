#pragma once

#include <boost/json/value.hpp>
#include <cmath>
#include <concepts>
#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>

namespace vemo {

/// A number of a page message: a JSON number or a JSON boolean, which counts as 0 or 1.
class Number {
 public:
  /// The number in `value`; nothing when it is no number and no boolean.
  static std::optional<Number> from(const boost::json::value& value) {
    if (value.is_number() || value.is_bool()) return Number(value);
    return std::nullopt;
  }

  /// As an integer type: an integer narrows as a cast between integer types does, a
  /// floating number truncates toward zero and stops at the type's limits.
  template <std::integral T>
  requires(!std::same_as<T, bool>) T as()
  const {
    switch (value_.kind()) {
      case boost::json::kind::int64: return static_cast<T>(value_.get_int64());
      case boost::json::kind::uint64: return static_cast<T>(value_.get_uint64());
      case boost::json::kind::double_: return saturated<T>(value_.get_double());
      default: return static_cast<T>(value_.get_bool());
    }
  }

  /// As a floating type: the nearest value, infinite beyond the type's largest.
  template <std::floating_point T>
  T as() const {
    switch (value_.kind()) {
      case boost::json::kind::int64: return static_cast<T>(value_.get_int64());
      case boost::json::kind::uint64: return static_cast<T>(value_.get_uint64());
      case boost::json::kind::double_: return nearest<T>(value_.get_double());
      default: return static_cast<T>(value_.get_bool());
    }
  }

  /// As a BOOL: whether it is not zero.
  template <std::same_as<bool> T>
  T as() const {
    switch (value_.kind()) {
      case boost::json::kind::int64: return value_.get_int64() != 0;
      case boost::json::kind::uint64: return value_.get_uint64() != 0;
      case boost::json::kind::double_: return value_.get_double() != 0;
      default: return value_.get_bool();
    }
  }

  /// The "integer value": 32 bits, signed.
  std::int32_t int32() const { return as<std::int32_t>(); }
  bool boolean() const { return as<bool>(); }

 private:
  explicit Number(const boost::json::value& value) : value_(value) {}

  template <class T>
  static T saturated(double number) {
    // The limits as doubles: the lower one is exact, the upper one may round up to
    // the first value beyond the type.
    constexpr auto low = static_cast<double>(std::numeric_limits<T>::min());
    constexpr auto high = static_cast<double>(std::numeric_limits<T>::max());
    if (std::isnan(number)) return 0;
    if (number <= low) return std::numeric_limits<T>::min();
    if (number >= high) return std::numeric_limits<T>::max();
    return static_cast<T>(number);
  }

  template <class T>
  static T nearest(double number) {
    // A conversion that the language leaves open beyond the type's largest value: up to
    // half a step above it, that value is the nearest.
    constexpr T largest = std::numeric_limits<T>::max();
    const double size = std::fabs(number);
    if (!(size > static_cast<double>(largest))) return static_cast<T>(number);
    const double step =
        static_cast<double>(largest) - static_cast<double>(std::nextafter(largest, T{0}));
    const T beyond = size < static_cast<double>(largest) + step / 2
                         ? largest
                         : std::numeric_limits<T>::infinity();
    return number < 0 ? -beyond : beyond;
  }

  boost::json::value value_;  // a scalar: holds no memory
};

}  // namespace vemo
