#include "engine/EngineThread.h"

#include <gtest/gtest.h>

#include <string>

#include "testing/Arrivals.h"

namespace vemo {
namespace {

using namespace std::chrono_literals;

TEST(EngineThread, RunsWhatIsPostedInOrderOnItsOwnThread) {
  EngineThread thread;
  Arrivals<int> arrived;
  for (int i = 0; i < 3; ++i) {
    thread.post([&, i] {
      EXPECT_TRUE(thread.isCurrent());
      arrived.add(i);
    });
  }
  EXPECT_EQ(arrived.next(3), (std::vector<int>{0, 1, 2}));
  EXPECT_FALSE(thread.isCurrent());
}

TEST(EngineThread, DoesWhatWasPostedBeforeItEnds) {
  int done = 0;
  {
    EngineThread thread;
    for (int i = 0; i < 100; ++i) thread.post([&] { ++done; });
  }
  EXPECT_EQ(done, 100);
}

TEST(EngineThread, MayEndOnItself) {
  Arrivals<bool> ended;
  auto thread = std::make_shared<EngineThread>();
  auto* raw = thread.get();
  raw->post([&ended, held = std::move(thread)]() mutable {
    held.reset();
    ended.add(true);
  });
  EXPECT_TRUE(ended.next());
}

TEST(EngineThread, TimersRunUntilTheirHolderLetsGo) {
  EngineThread thread;
  Arrivals<std::string> arrived;
  auto dropped = thread.after(10ms, [&] { arrived.add("dropped"); });
  dropped.reset();
  const auto kept = thread.after(20ms, [&] { arrived.add("kept"); });
  EXPECT_EQ(arrived.next(), "kept");
  const auto again = thread.every(1ms, [&] { arrived.add("again"); });
  EXPECT_EQ(arrived.next(3), (std::vector<std::string>{"again", "again", "again"}));
}

TEST(EngineThread, IsIdleOnceNothingIsUnderWay) {
  EngineThread thread;
  auto busy = thread.busy();
  EXPECT_FALSE(thread.waitUntilIdle(10ms));
  thread.post([held = std::move(busy)] {});
  EXPECT_TRUE(thread.waitUntilIdle(30s));
}

}  // namespace
}  // namespace vemo
