#include "platform/MainThreadQueue.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include "platform/ForwardingPlatform.h"
#include "testing/Arrivals.h"
#include "testing/contracts/MainQueue_contract.h"

namespace vemo {
namespace {

struct MainThreadQueueMaker {
  MainQueue& queue() { return *queue_; }
  void drain() {
    while (queue_->drain() > 0) {
    }
  }
  void destroy() { queue_.reset(); }

  std::unique_ptr<MainThreadQueue> queue_ = std::make_unique<MainThreadQueue>();
};
INSTANTIATE_TYPED_TEST_SUITE_P(MainThreadQueue, MainQueueContract, MainThreadQueueMaker);

struct ForwardedMainThreadQueueMaker : MainThreadQueueMaker {
  MainQueue& queue() { return forwarder_; }

  ForwardingMainQueue forwarder_{*queue_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, MainQueueContract, ForwardedMainThreadQueueMaker);

TEST(MainThreadQueue, DrainRunsWhatWaitsAndSaysHowManyItRan) {
  MainThreadQueue queue;
  EXPECT_EQ(queue.drain(), 0U);
  queue.dispatchAsync([] {});
  queue.dispatchAsync([&] { queue.dispatchAsync([] {}); });
  EXPECT_EQ(queue.drain(), 2U);
  EXPECT_EQ(queue.drain(), 1U);
  EXPECT_EQ(queue.drain(), 0U);
}

// Those who queue faster than the tasks run must not keep the host's event loop.
TEST(MainThreadQueue, ADrainEndsWhileTasksQueueMoreAndAsksForAnother) {
  int woken = 0;
  MainThreadQueue queue([&] { ++woken; });
  int left = 1000;
  const std::function<void()> again = [&] {
    if (--left > 0) queue.dispatchAsync(again);
  };
  queue.dispatchAsync(again);
  for (int drains = 1; drains <= 1000; ++drains) {
    woken = 0;
    EXPECT_EQ(queue.drain(), 1U);
    EXPECT_EQ(woken > 0, drains < 1000) << drains;
  }
  EXPECT_EQ(left, 0);
}

TEST(MainThreadQueue, AHostThatDrainsWhenItIsWokenRunsWhateverIsQueued) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 500;
  Arrivals<int> wakes;
  MainThreadQueue queue([&] { wakes.add(1); });
  std::vector<std::thread> threads;
  int ran = 0;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kTasks; ++i) queue.dispatchAsync([&] { ++ran; });
    });
  }
  while (ran < kThreads * kTasks && wakes.next()) queue.drain();
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(ran, kThreads * kTasks);
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

// As a router does that owns its pieces, when the work of an event was the last to hold it.
TEST(MainThreadQueue, ATaskMayDestroyTheQueueThatDrains) {
  auto queue = std::make_unique<MainThreadQueue>();
  auto& drained = *queue;
  const auto token = std::make_shared<int>();
  drained.dispatchAsync([&] { queue.reset(); });
  drained.dispatchAsync([token] { ADD_FAILURE(); });
  EXPECT_EQ(drained.drain(), 1U);
  EXPECT_EQ(queue, nullptr);
  EXPECT_EQ(token.use_count(), 1);
}

TEST(MainThreadQueue, TheEndOfATaskMayDestroyTheQueueThatRuns) {
  auto queue = std::make_shared<MainThreadQueue>();
  auto& running = *queue;
  const std::weak_ptr<MainThreadQueue> watched = queue;
  running.dispatchAsync([owner = std::move(queue)] {});
  running.run();
  EXPECT_TRUE(watched.expired());
}

TEST(MainThreadQueue, AnExceptionLeavesTheDrainAndLosesNothing) {
  int woken = 0;
  MainThreadQueue queue([&] { ++woken; });
  std::vector<int> ran;
  queue.dispatchAsync([] { throw std::runtime_error("a task's"); });
  queue.dispatchAsync([&] { ran.push_back(1); });
  woken = 0;
  EXPECT_THROW(queue.drain(), std::runtime_error);
  EXPECT_EQ(woken, 1) << "the host does not know that more waits";
  EXPECT_EQ(queue.drain(), 1U);
  EXPECT_EQ(ran, std::vector{1});
}

TEST(MainThreadQueue, AnExceptionLeavesTheRunAndLosesNothing) {
  MainThreadQueue queue;
  std::vector<int> ran;
  queue.dispatchAsync([] { throw std::runtime_error("a task's"); });
  queue.dispatchAsync([&] {
    ran.push_back(1);
    queue.stop();
  });
  EXPECT_THROW(queue.run(), std::runtime_error);
  queue.run();
  EXPECT_EQ(ran, std::vector{1});
}

}  // namespace
}  // namespace vemo
