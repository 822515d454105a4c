#include "webview/Published.h"

#include <gtest/gtest.h>

#include <thread>

namespace vemo {
namespace {

TEST(Published, IsEmptyUntilSomethingIsPublished) {
  Published<const int> slot;
  EXPECT_EQ(slot.load(), nullptr);
  EXPECT_EQ(slot.take(), nullptr);
}

TEST(Published, GivesWhatWasPublishedLast) {
  Published<const int> slot;
  slot.publish(std::make_shared<const int>(1));
  const auto first = slot.load();
  slot.publish(std::make_shared<const int>(2));
  EXPECT_EQ(*first, 1);
  EXPECT_EQ(*slot.load(), 2);
}

TEST(Published, TakingEmptiesTheSlot) {
  Published<const int> slot;
  slot.publish(std::make_shared<const int>(1));
  EXPECT_EQ(*slot.take(), 1);
  EXPECT_EQ(slot.load(), nullptr);
}

TEST(Published, ModifyingLeavesOldVersionsAlone) {
  Published<const int> slot;
  slot.modify([](int& value) { value = 9; });
  EXPECT_EQ(slot.load(), nullptr);
  slot.publish(std::make_shared<const int>(1));
  const auto old = slot.load();
  slot.modify([](int& value) { ++value; });
  EXPECT_EQ(*old, 1);
  EXPECT_EQ(*slot.load(), 2);
}

TEST(Published, NoChangeIsLostBetweenThreads) {
  Published<const int> slot;
  slot.publish(std::make_shared<const int>(0));
  constexpr int rounds = 1000;
  const auto count = [&] {
    for (int i = 0; i < rounds; ++i) slot.modify([](int& value) { ++value; });
  };
  std::thread other(count);
  count();
  other.join();
  EXPECT_EQ(*slot.load(), 2 * rounds);
}

// The destructor of an old version may use the slot: it runs outside the lock.
TEST(Published, OldVersionsDieOutsideTheLock) {
  struct Curious {
    Published<const Curious>* slot;
    explicit Curious(Published<const Curious>* in) : slot(in) {}
    ~Curious() { slot->load(); }
  };
  Published<const Curious> slot;
  slot.publish(std::make_shared<const Curious>(&slot));
  slot.publish(std::make_shared<const Curious>(&slot));
  slot.take();
  EXPECT_EQ(slot.load(), nullptr);
}

}  // namespace
}  // namespace vemo
