#include "classroom/Farewells.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

namespace vemo {
namespace {

std::string folderOf(pid_t thread) { return "/proc/self/task/" + std::to_string(thread); }

/// Whether a thread of this process waits for something.
bool isWaiting(pid_t thread) {
  std::ifstream file(folderOf(thread) + "/stat");
  std::string line;
  std::getline(file, line);
  return line.find(") S ") != std::string::npos;
}

/// Three pieces, of which each begins the next when it is itself being waited for.
class Chain : public std::enable_shared_from_this<Chain> {
 public:
  void say(Farewells& farewells, int left, pid_t former) {
    // The former is over for who waits when its thread is gone.
    while (!isGone_ && (std::filesystem::exists(folderOf(former)) || !isWaiting(waiter_))) {
      std::this_thread::yield();
    }
    if (isGone_) return;
    if (left > 1) {
      farewells.run([self = shared_from_this(), &farewells, left, own = gettid()] {
        self->say(farewells, left - 1, own);
      });
    }
    ++said_;
  }
  /// Nobody waits any more.
  void end() { isGone_ = true; }
  int said() const { return said_; }

 private:
  const pid_t waiter_ = gettid();
  std::atomic<bool> isGone_ = false;
  std::atomic<int> said_ = 0;
};

TEST(FarewellsTest, AreWaitedForEvenWhenOneBeginsAnother) {
  const auto chain = std::make_shared<Chain>();
  {
    Farewells farewells;
    farewells.run([chain, &farewells] { chain->say(farewells, 3, 0); });
  }
  chain->end();
  EXPECT_EQ(chain->said(), 3);
}

TEST(FarewellsTest, KeepNobodyWaitingWhoBeginsThem) {
  std::atomic<bool> begun = false;
  Farewells farewells;
  farewells.run([&] {
    while (!begun) std::this_thread::yield();
  });
  begun = true;
}

}  // namespace
}  // namespace vemo
