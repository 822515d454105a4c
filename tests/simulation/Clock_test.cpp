#include "simulation/Clock.h"

#include <gtest/gtest.h>

#include <future>
#include <string>
#include <thread>
#include <vector>

#include "simulation/EventQueue.h"

namespace vemo {
namespace {

using std::chrono::milliseconds;

/// A queue on a clock that is driven by hand, and what it ran: "NAME at TIME".
struct DrivenQueue {
  void post(int due, const std::string& name, std::function<void()> also = {}) {
    EventQueue::Task task = [this, name, also = std::move(also)] {
      ran.push_back(name + " at " + std::to_string(clock->now().count()));
      if (also) also();
    };
    ASSERT_TRUE(queue.post(milliseconds(due), task));
  }

  const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  std::vector<std::string> ran;  // by the queue's thread, inside advance
  EventQueue queue{clock};
};

using Ran = std::vector<std::string>;

TEST(ManualClock, StandsStillUntilItIsAdvanced) {
  ManualClock clock;
  EXPECT_EQ(clock.now(), milliseconds(0));
  clock.advance(milliseconds(70));
  EXPECT_EQ(clock.now(), milliseconds(70));
}

TEST(ManualClock, RunsWorkAtItsOwnTimeInOrder) {
  DrivenQueue driven;
  driven.post(30, "late");
  driven.post(10, "first");
  driven.post(10, "second");
  driven.clock->advance(milliseconds(29));
  EXPECT_EQ(driven.ran, (Ran{"first at 10", "second at 10"}));
  driven.clock->advance(milliseconds(1));
  EXPECT_EQ(driven.ran.back(), "late at 30");
}

TEST(ManualClock, RunsWhatWorkAddsOnTheWay) {
  DrivenQueue driven;
  driven.post(10, "parent", [&] {
    driven.post(10, "at once");
    driven.post(25, "child");
    driven.post(60, "beyond");
  });
  driven.clock->advance(milliseconds(50));
  EXPECT_EQ(driven.ran, (Ran{"parent at 10", "at once at 10", "child at 25"}));
  EXPECT_EQ(driven.clock->now(), milliseconds(50));
}

TEST(ManualClock, RunsNothingOutsideAnAdvance) {
  DrivenQueue driven;
  driven.post(0, "due");
  driven.post(0, "due too");
  EXPECT_TRUE(driven.ran.empty());
  driven.clock->advance(milliseconds(0));
  EXPECT_EQ(driven.ran, (Ran{"due at 0", "due too at 0"}));
}

TEST(ManualClock, DrivesSeveralQueuesInTime) {
  DrivenQueue first;
  EventQueue second(first.clock);
  EventQueue::Task between = [&] { first.ran.emplace_back("between"); };
  first.post(10, "a");
  first.post(30, "b");
  ASSERT_TRUE(second.post(milliseconds(20), between));
  first.clock->advance(milliseconds(30));
  EXPECT_EQ(first.ran, (Ran{"a at 10", "between", "b at 30"}));
}

TEST(ManualClock, ForgetsQueuesThatAreGone) {
  const auto clock = std::make_shared<ManualClock>();
  EventQueue::Task task = [] { FAIL() << "the queue is gone"; };
  { EXPECT_TRUE(EventQueue(clock).post(milliseconds(5), task)); }
  clock->advance(milliseconds(10));
  EXPECT_EQ(clock->now(), milliseconds(10));
}

TEST(EventQueue, RunsOnOneThreadOfItsOwn) {
  EventQueue queue(std::make_shared<RealClock>());
  std::promise<std::thread::id> first;
  std::promise<std::thread::id> second;
  EventQueue::Task one = [&] { first.set_value(std::this_thread::get_id()); };
  EventQueue::Task two = [&] { second.set_value(std::this_thread::get_id()); };
  ASSERT_TRUE(queue.post(milliseconds(0), one));
  ASSERT_TRUE(queue.post(milliseconds(1), two));
  const auto thread = first.get_future().get();
  EXPECT_EQ(second.get_future().get(), thread);
  EXPECT_NE(thread, std::this_thread::get_id());
}

TEST(EventQueue, WaitsForTheRealTime) {
  const auto clock = std::make_shared<RealClock>();
  EventQueue queue(clock);
  std::promise<Clock::Time> ranAt;
  const auto due = clock->now() + milliseconds(20);
  EventQueue::Task task = [&] { ranAt.set_value(clock->now()); };
  ASSERT_TRUE(queue.post(due, task));
  EXPECT_GE(ranAt.get_future().get(), due);
}

TEST(EventQueue, LeavesATaskAloneOnceStopped) {
  EventQueue queue(std::make_shared<RealClock>());
  queue.stop();
  bool ran = false;
  EventQueue::Task task = [&] { ran = true; };
  EXPECT_FALSE(queue.post(milliseconds(0), task));
  task();
  EXPECT_TRUE(ran);
}

TEST(EventQueue, DropsWhatWaitsWithNoLockHeld) {
  // A task that owns something which, when it dies, posts to the queue again.
  EventQueue queue(std::make_shared<RealClock>());
  bool refused = false;
  std::shared_ptr<void> owned(nullptr, [&](void*) {
    EventQueue::Task again = [] {};
    refused = !queue.post(milliseconds(0), again);
  });
  EventQueue::Task task = [owned] {};
  ASSERT_TRUE(queue.post(milliseconds(1'000'000), task));
  owned.reset();
  queue.stop();
  EXPECT_TRUE(refused);
}

TEST(EventQueue, MayBeDestroyedByItsOwnWork) {
  auto queue = std::make_unique<EventQueue>(std::make_shared<RealClock>());
  std::promise<void> destroyed;
  EventQueue::Task task = [&] {
    queue.reset();
    destroyed.set_value();
  };
  EventQueue::Task never = [] { FAIL() << "the queue is gone"; };
  ASSERT_TRUE(queue->post(milliseconds(1'000'000), never));
  ASSERT_TRUE(queue->post(milliseconds(0), task));
  destroyed.get_future().get();
}

TEST(EventQueue, MayBeDestroyedByItsOwnWorkInsideAnAdvance) {
  const auto clock = std::make_shared<ManualClock>();
  auto queue = std::make_unique<EventQueue>(clock);
  EventQueue::Task task = [&] { queue.reset(); };
  ASSERT_TRUE(queue->post(milliseconds(5), task));
  clock->advance(milliseconds(10));
  EXPECT_EQ(queue, nullptr);
}

}  // namespace
}  // namespace vemo
