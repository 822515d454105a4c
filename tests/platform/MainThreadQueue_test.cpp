#include "platform/MainThreadQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <utility>
#include <vector>

#include "testing/Arrivals.h"
#include "testing/contracts/MainQueue_contract.h"

namespace vemo {
namespace {

struct MainThreadQueueMaker {
  MainQueue& queue() { return *queue_; }
  void drain() { queue_->drain(); }
  void destroy() { queue_.reset(); }

  std::unique_ptr<MainThreadQueue> queue_ = std::make_unique<MainThreadQueue>();
};
INSTANTIATE_TYPED_TEST_SUITE_P(MainThreadQueue, MainQueueContract, MainThreadQueueMaker);

TEST(MainThreadQueue, DrainSaysHowManyItRan) {
  MainThreadQueue queue;
  EXPECT_EQ(queue.drain(), 0U);
  queue.dispatchAsync([] {});
  queue.dispatchAsync([&] { queue.dispatchAsync([] {}); });
  EXPECT_EQ(queue.drain(), 3U);
  EXPECT_EQ(queue.drain(), 0U);
}

TEST(MainThreadQueue, ATaskThatDrainsRunsNothingInside) {
  MainThreadQueue queue;
  std::vector<int> ran;
  queue.dispatchAsync([&] {
    EXPECT_EQ(queue.drain(), 0U);
    ran.push_back(1);
  });
  queue.dispatchAsync([&] { ran.push_back(2); });
  EXPECT_EQ(queue.drain(), 2U);
  EXPECT_EQ(ran, (std::vector{1, 2}));
}

TEST(MainThreadQueue, ATaskIsDestroyedBeforeTheNextRuns) {
  MainThreadQueue queue;
  std::weak_ptr<int> held;
  {
    auto token = std::make_shared<int>();
    held = token;
    queue.dispatchAsync([token = std::move(token)] {});
  }
  bool expired = false;
  queue.dispatchAsync([&] { expired = held.expired(); });
  queue.drain();
  EXPECT_TRUE(expired);
}

TEST(MainThreadQueue, WakesItsHostWhenWorkComesToAnIdleQueue) {
  int woken = 0;
  MainThreadQueue queue([&] { ++woken; });
  queue.dispatchAsync(nullptr);
  EXPECT_EQ(woken, 0);
  queue.dispatchAsync([] {});
  queue.dispatchAsync([] {});
  EXPECT_EQ(woken, 1);
  queue.drain();
  queue.dispatchAsync([] {});
  EXPECT_EQ(woken, 2);
}

TEST(MainThreadQueue, TheHostMayBindAnotherThread) {
  MainThreadQueue queue;
  std::thread([&] {
    EXPECT_FALSE(queue.isMainThread());
    queue.bindToThisThread();
    EXPECT_TRUE(queue.isMainThread());
  }).join();
  EXPECT_FALSE(queue.isMainThread());
}

TEST(MainThreadQueue, RunsAsALoopUntilStopped) {
  MainThreadQueue queue;
  Arrivals<int> ran;
  std::thread loop([&] {
    queue.bindToThisThread();
    queue.run();
  });
  queue.dispatchAsync([&] { ran.add(1); });
  EXPECT_EQ(ran.next(), 1);
  queue.dispatchAsync([&] { ran.add(2); });
  EXPECT_EQ(ran.next(), 2);
  queue.stop();
  loop.join();
}

TEST(MainThreadQueue, AStopBeforeTheRunEndsItAtItsStartAndKeepsWhatIsQueued) {
  MainThreadQueue queue;
  bool ran = false;
  queue.dispatchAsync([&] { ran = true; });
  queue.stop();
  queue.run();
  EXPECT_FALSE(ran);
  EXPECT_EQ(queue.drain(), 1U);
  EXPECT_TRUE(ran);
}

TEST(MainThreadQueue, AStopFromATaskEndsTheRunAfterIt) {
  MainThreadQueue queue;
  std::vector<int> ran;
  queue.dispatchAsync([&] {
    queue.stop();
    ran.push_back(1);
  });
  queue.dispatchAsync([&] { ran.push_back(2); });
  queue.run();
  EXPECT_EQ(ran, std::vector{1});
}

// What a task holds may queue work when it goes, such as a router that is torn down.
TEST(MainThreadQueue, TasksQueuedWhileItDiesAreDestroyedToo) {
  auto token = std::make_shared<int>();
  const std::weak_ptr<int> held = token;
  auto queue = std::make_unique<MainThreadQueue>();
  auto* address = queue.get();
  std::shared_ptr<void> last(
      nullptr, [address, token](void*) { address->dispatchAsync([token] { ADD_FAILURE(); }); });
  token.reset();
  queue->dispatchAsync([last = std::move(last)] {});
  queue.reset();
  EXPECT_TRUE(held.expired());
}

}  // namespace
}  // namespace vemo
