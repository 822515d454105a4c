#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "bridge/MainQueue.h"

namespace vemo {

/// What every MainQueue promises. A Maker makes one whose main thread is the thread of
/// the test, and has:
///   MainQueue& queue();
///   void drain();    runs what is queued, until nothing is
///   void destroy();  destroys the queue with what is queued
template <class Maker>
class MainQueueContract : public ::testing::Test {
 protected:
  MainQueue& queue() { return maker_.queue(); }

  static void onOtherThread(const std::function<void()>& work) { std::thread(work).join(); }

  Maker maker_;
};

TYPED_TEST_SUITE_P(MainQueueContract);

TYPED_TEST_P(MainQueueContract, KnowsItsMainThread) {
  EXPECT_TRUE(this->queue().isMainThread());
  bool other = true;
  this->onOtherThread([&] { other = this->queue().isMainThread(); });
  EXPECT_FALSE(other);
}

TYPED_TEST_P(MainQueueContract, RunsTasksInOrderOnTheMainThread) {
  std::vector<int> ran;
  const auto mainThread = std::this_thread::get_id();
  this->queue().dispatchAsync([&] { ran.push_back(1); });
  this->onOtherThread([&] {
    this->queue().dispatchAsync([&] {
      EXPECT_EQ(std::this_thread::get_id(), mainThread);
      ran.push_back(2);
    });
  });
  this->queue().dispatchAsync([&] { ran.push_back(3); });
  EXPECT_TRUE(ran.empty()) << "a task ran inside dispatchAsync";
  this->maker_.drain();
  EXPECT_EQ(ran, (std::vector{1, 2, 3}));
}

TYPED_TEST_P(MainQueueContract, RunsATaskThatATaskQueuesAfterIt) {
  std::vector<int> ran;
  this->queue().dispatchAsync([&] {
    this->queue().dispatchAsync([&] { ran.push_back(2); });
    ran.push_back(1);
  });
  this->maker_.drain();
  EXPECT_EQ(ran, (std::vector{1, 2}));
}

TYPED_TEST_P(MainQueueContract, DestroysATaskOnTheMainThreadOnceItHasRun) {
  std::thread::id destroyedOn;
  bool ran = false;
  std::weak_ptr<void> held;
  this->onOtherThread([&] {
    std::shared_ptr<void> token(nullptr, [&](void*) { destroyedOn = std::this_thread::get_id(); });
    held = token;
    this->queue().dispatchAsync([&ran, token = std::move(token)] { ran = true; });
  });
  EXPECT_FALSE(held.expired()) << "the task was destroyed before it ran";
  this->maker_.drain();
  EXPECT_TRUE(ran);
  EXPECT_TRUE(held.expired());
  EXPECT_EQ(destroyedOn, std::this_thread::get_id());
}

TYPED_TEST_P(MainQueueContract, IgnoresAnEmptyTask) {
  this->queue().dispatchAsync(nullptr);
  bool ran = false;
  this->queue().dispatchAsync([&] { ran = true; });
  this->maker_.drain();
  EXPECT_TRUE(ran);
}

TYPED_TEST_P(MainQueueContract, DestroysUnrunWhatIsQueuedWhenItDies) {
  const auto token = std::make_shared<int>();
  bool ran = false;
  this->queue().dispatchAsync([&ran, token] { ran = true; });
  this->maker_.destroy();
  EXPECT_FALSE(ran);
  EXPECT_EQ(token.use_count(), 1);
}

TYPED_TEST_P(MainQueueContract, KeepsTheOrderOfEachOfManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kTasks = 250;
  std::vector<std::vector<int>> ran(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kTasks; ++i) {
        this->queue().dispatchAsync(
            [&ran, t, i] { ran[static_cast<std::size_t>(t)].push_back(i); });
      }
    });
  }
  for (auto& thread : threads) thread.join();
  this->maker_.drain();
  for (const auto& order : ran) {
    ASSERT_EQ(order.size(), static_cast<std::size_t>(kTasks));
    EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
  }
}

REGISTER_TYPED_TEST_SUITE_P(MainQueueContract, KnowsItsMainThread, RunsTasksInOrderOnTheMainThread,
                            RunsATaskThatATaskQueuesAfterIt,
                            DestroysATaskOnTheMainThreadOnceItHasRun, IgnoresAnEmptyTask,
                            DestroysUnrunWhatIsQueuedWhenItDies, KeepsTheOrderOfEachOfManyThreads);

}  // namespace vemo
