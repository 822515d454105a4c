#include "classroom/Farewells.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace vemo {
namespace {

TEST(FarewellsTest, AreWaitedForEvenWhenOneBeginsAnother) {
  std::atomic<int> done = 0;
  {
    Farewells farewells;
    farewells.run([&] {
      farewells.run([&] {
        std::this_thread::yield();
        ++done;
      });
      ++done;
    });
  }
  EXPECT_EQ(done, 2);
}

}  // namespace
}  // namespace vemo
