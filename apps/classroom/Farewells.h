#pragma once

#include <functional>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace vemo {

/// Work that would keep the main thread waiting: each piece has a thread of its own, and all are
/// waited for at the end. Any thread, that of a piece included.
class Farewells {
 public:
  Farewells() = default;
  ~Farewells() {
    while (!taken().empty()) {
    }
  }
  Farewells(const Farewells&) = delete;
  Farewells& operator=(const Farewells&) = delete;

  void run(std::function<void()> work) {
    const std::lock_guard lock(mutex_);
    threads_.emplace_back(std::move(work));
  }

 private:
  std::vector<std::jthread> taken() {
    const std::lock_guard lock(mutex_);
    return std::exchange(threads_, {});
  }

  std::mutex mutex_;
  std::vector<std::jthread> threads_;
};

}  // namespace vemo
