#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "platform/InProcessNotificationCenter.h"
#include "platform/LoopbackNotificationCenter.h"
#include "testing/Arrivals.h"
#include "testing/contracts/CrossProcessNotificationCenter_contract.h"
#include "testing/contracts/NotificationCenter_contract.h"

namespace vemo {
namespace {

struct InProcessMaker {
  NotificationCenter& center() { return center_; }

  InProcessNotificationCenter center_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(InProcess, NotificationCenterContract, InProcessMaker);

struct InProcessCrossProcessMaker {
  CrossProcessNotificationCenter& center() { return *center_; }
  void settle() {}
  void destroy() { center_.reset(); }

  std::unique_ptr<LoopbackNotificationCenter> center_ =
      std::make_unique<LoopbackNotificationCenter>();
};
INSTANTIATE_TYPED_TEST_SUITE_P(InProcess, CrossProcessNotificationCenterContract,
                               InProcessCrossProcessMaker);

TEST(InProcessNotificationCenter, DoesNotCallWhatWasRemovedDuringThePost) {
  InProcessNotificationCenter center;
  int first = 0;
  int second = 0;
  int calls = 0;
  center.addObserver(&first, "a", [&](const std::string&) { center.removeEveryObserver(&second); });
  center.addObserver(&second, "a", [&](const std::string&) { ++calls; });
  center.post("a");
  EXPECT_EQ(calls, 0);
}

TEST(LoopbackNotificationCenter, CallsOnOneThreadOfItsOwn) {
  LoopbackNotificationCenter center;
  int observer = 0;
  Arrivals<std::thread::id> threads;
  center.addObserver(&observer, "a",
                     [&](const std::string&) { threads.add(std::this_thread::get_id()); });
  center.post("a");
  center.post("a");
  const auto first = threads.next();
  ASSERT_TRUE(first);
  EXPECT_NE(*first, std::this_thread::get_id());
  EXPECT_EQ(threads.next(), first);
}

TEST(LoopbackNotificationCenter, IsAWorldOfItsOwn) {
  LoopbackNotificationCenter center;
  LoopbackNotificationCenter other;
  int observer = 0;
  Arrivals<int> arrivals;
  other.addObserver(&observer, "a", [&](const std::string&) { arrivals.add(1); });
  center.addObserver(&observer, "a", [&](const std::string&) { arrivals.add(2); });
  center.post("a");
  EXPECT_EQ(arrivals.next(), 2);
  EXPECT_EQ(arrivals.count(), 0U);
}

}  // namespace
}  // namespace vemo
