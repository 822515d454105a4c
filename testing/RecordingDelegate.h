#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <concepts>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "bridge/KOBUCloudDelegate.h"

namespace vemo {

/// Keeps the engine's events in order, and sees to it that they come one at a time.
class RecordingDelegate : public KOBUCloudDelegateOf<RecordingDelegate> {
 public:
  struct Event {
    std::string name;
    std::int64_t number = 0;  ///< the first integer among its arguments
    std::string line;         ///< "onUserVideoAvailable bob 1"
    std::thread::id thread;   ///< on which it came
  };

  /// Called inside each event, after it was kept; set before there are any.
  std::function<void(const Event&)> inEvent;

  std::vector<Event> events() const {
    const std::lock_guard lock(mutex_);
    return events_;
  }
  std::vector<Event> events(std::string_view name) const {
    auto found = events();
    std::erase_if(found, [&](const Event& event) { return event.name != name; });
    return found;
  }
  void clear() { take(); }

  std::vector<std::string> lines() const { return linesOf(events()); }
  /// The lines so far; the events are then forgotten.
  std::vector<std::string> take() {
    const std::lock_guard lock(mutex_);
    return linesOf(std::exchange(events_, {}));
  }
  /// The same without the events that come again and again.
  std::vector<std::string> takeRare() {
    const std::lock_guard lock(mutex_);
    auto events = std::exchange(events_, {});
    std::erase_if(events, [](const Event& event) { return isPeriodicEvent(event.name); });
    return linesOf(events);
  }
  /// How many lines begin with `prefix`.
  std::size_t count(std::string_view prefix) const {
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::ranges::count_if(
        events_, [&](const Event& event) { return event.line.starts_with(prefix); }));
  }
  /// Waits until a line begins with `prefix`; a failure, with what came instead, when none does.
  void waitFor(std::string_view prefix) {
    constexpr std::chrono::seconds kPatience{60};
    std::unique_lock lock(mutex_);
    const bool came = changed_.wait_for(lock, kPatience, [&] {
      return std::ranges::any_of(
          events_, [&](const Event& event) { return event.line.starts_with(prefix); });
    });
    if (came) return;
    std::ostringstream there;
    for (const auto& event : events_) {
      if (!isPeriodicEvent(event.name)) there << "\n  " << event.line;
    }
    ADD_FAILURE() << "no \"" << prefix << "\" came in " << kPatience.count() << " s, but"
                  << there.str();
  }

  /// What came last.
  Shared<KOBUStatistics> statistics() const {
    const std::lock_guard lock(mutex_);
    return statistics_;
  }
  SharedList<KOBUVolumeInfo> volumes() const {
    const std::lock_guard lock(mutex_);
    return volumes_;
  }

  template <auto operation, class... Args>
  void told(const Args&... args) {
    add(nameOf<operation>, args...);
  }
  void onNetworkQuality(Shared<KOBUQualityInfo> localQuality,
                        SharedList<KOBUQualityInfo> remoteQuality) override {
    std::string line = localQuality ? std::to_string(localQuality->quality) : "(null)";
    if (remoteQuality) {
      for (const auto& remote : *remoteQuality) {
        line += ' ' + remote.userId.value_or("(null)") + ' ' + std::to_string(remote.quality);
      }
    }
    add("onNetworkQuality", line);
  }
  void onStatistics(Shared<KOBUStatistics> statistics) override {
    {
      const std::lock_guard lock(mutex_);
      statistics_ = statistics;
    }
    if (!statistics) return add("onStatistics");
    add("onStatistics", statistics->rtt, statistics->sentBytes, statistics->receivedBytes);
  }
  void onUserVoiceVolume(SharedList<KOBUVolumeInfo> userVolumes,
                         std::int64_t totalVolume) override {
    {
      const std::lock_guard lock(mutex_);
      volumes_ = userVolumes;
    }
    std::string users;
    if (userVolumes) {
      for (const auto& user : *userVolumes) {
        users += user.userId.value_or("(null)") + ' ' + std::to_string(user.volume) + ' ';
      }
    }
    addLine("onUserVoiceVolume", totalVolume,
            "onUserVoiceVolume " + users + std::to_string(totalVolume));
  }

 private:
  static std::vector<std::string> linesOf(const std::vector<Event>& events) {
    std::vector<std::string> lines;
    lines.reserve(events.size());
    for (const auto& event : events) lines.push_back(event.line);
    return lines;
  }

  template <auto operation>
  static constexpr std::string_view nameOf = std::get<EngineEvent<operation>>(engineEvents).name;

  template <class... Arguments>
  void add(std::string_view name, const Arguments&... arguments) {
    std::optional<std::int64_t> number;
    std::ostringstream line;
    line << name;
    [[maybe_unused]] const auto write = [&]<class T>(const T& argument) {
      if constexpr (std::same_as<T, Text>) {
        line << ' ' << argument.value_or("(null)");
      } else if constexpr (requires { line << argument; }) {
        line << ' ' << argument;
      }
      if constexpr (std::integral<T>) {
        if (!number) number = static_cast<std::int64_t>(argument);
      }
    };
    (write(arguments), ...);
    addLine(name, number.value_or(0), line.str());
  }

  void addLine(std::string_view name, std::int64_t number, std::string line) {
    EXPECT_EQ(inside_.fetch_add(1), 0) << name << " came within another event";
    const Event event{std::string(name), number, std::move(line), std::this_thread::get_id()};
    {
      const std::lock_guard lock(mutex_);
      events_.push_back(event);
      changed_.notify_all();
    }
    if (inEvent) inEvent(event);
    --inside_;
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<Event> events_;
  Shared<KOBUStatistics> statistics_;
  SharedList<KOBUVolumeInfo> volumes_;
  std::atomic<int> inside_ = 0;
};

}  // namespace vemo
