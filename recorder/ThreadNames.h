#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

namespace vemo {

/// What notes call threads: "main", "engine", "engine 2", ..., by numbers. Any thread; what is
/// named stays.
class ThreadNames {
 public:
  static constexpr std::uint16_t kMain = 0;
  static constexpr std::size_t kMost = 256;  ///< further threads share the last name

  static constexpr std::size_t kBytes = 24;  ///< of a name, with the one that ends it

  ThreadNames() { add("main"); }
  /// None, to which `add` adds.
  explicit ThreadNames(std::uint16_t /*expected*/) {}

  /// The number of this thread, which is not the main one; `role` is what it is called when it
  /// is met first.
  std::uint16_t numberHere(std::string_view role) {
    const std::lock_guard lock(mutex_);
    const auto [entry, isNew] = numbers_.try_emplace(std::this_thread::get_id());
    if (isNew) {
      const auto count = ++counts_[std::string(role)];
      entry->second = add(std::string(role) + (count > 1 ? " " + std::to_string(count) : ""));
    }
    return entry->second;
  }

  std::string_view name(std::uint16_t number) const {
    return names_.at(number < count() ? number : count() - 1U).data();
  }
  std::uint16_t count() const { return count_.load(std::memory_order_acquire); }

  /// Gives `name` the next number.
  std::uint16_t add(std::string_view name) {
    const auto number = count();
    if (number == kMost) return kMost - 1;
    auto& place = names_.at(number);
    name.copy(place.data(), place.size() - 1);
    count_.store(static_cast<std::uint16_t>(number + 1), std::memory_order_release);
    return number;
  }

 private:
  // In place, so that a handler of signals can read it.
  std::array<std::array<char, kBytes>, kMost> names_{};
  std::atomic<std::uint16_t> count_ = 0;
  std::mutex mutex_;
  std::map<std::thread::id, std::uint16_t> numbers_;
  std::map<std::string, int, std::less<>> counts_;
};

}  // namespace vemo
