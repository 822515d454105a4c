#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "platform/ForwardingPlatform.h"
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

struct ForwardedInProcessMaker : InProcessMaker {
  NotificationCenter& center() { return forwarder_; }

  ForwardingNotificationCenter forwarder_{center_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, NotificationCenterContract, ForwardedInProcessMaker);

struct InProcessCrossProcessMaker {
  CrossProcessNotificationCenter& center() { return *center_; }
  void settle() {}
  void destroy() { center_.reset(); }

  std::unique_ptr<LoopbackNotificationCenter> center_ =
      std::make_unique<LoopbackNotificationCenter>();
};
INSTANTIATE_TYPED_TEST_SUITE_P(InProcess, CrossProcessNotificationCenterContract,
                               InProcessCrossProcessMaker);

struct ForwardedInProcessCrossProcessMaker : InProcessCrossProcessMaker {
  CrossProcessNotificationCenter& center() { return forwarder_; }

  ForwardingCrossProcessNotificationCenter forwarder_{*center_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Forwarding, CrossProcessNotificationCenterContract,
                               ForwardedInProcessCrossProcessMaker);

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
  Arrivals<std::string> arrivals;
  for (const auto* name : {"a", "b"}) {
    center.addObserver(&observer, name,
                       [&](const std::string& got) { arrivals.add("center " + got); });
    other.addObserver(&observer, name,
                      [&](const std::string& got) { arrivals.add("other " + got); });
  }
  center.post("a");
  EXPECT_EQ(arrivals.next(), "center a");
  other.post("b");  // comes after whatever else it would hear
  EXPECT_EQ(arrivals.next(), "other b");
  center.post("b");
  EXPECT_EQ(arrivals.next(), "center b");
}

/// A call that lasts until it is told to end, on a thread of its own.
class LongCall {
 public:
  explicit LongCall(NotificationCenter& center) {
    center.addObserver(this, "long", [this](const std::string&) {
      begun_.add(1);
      end_.next();
      ended_ = true;
    });
    thread_ = std::thread([&center] { center.post("long"); });
    begun_.next();
  }
  ~LongCall() { thread_.join(); }
  LongCall(const LongCall&) = delete;
  LongCall& operator=(const LongCall&) = delete;

  void end() { end_.add(1); }
  bool ended() const { return ended_; }

 private:
  Arrivals<int> begun_;
  Arrivals<int> end_;
  std::atomic<bool> ended_ = false;
  std::thread thread_;
};

TEST(InProcessNotificationCenter, ARemovalWaitsForACallOnAnotherThread) {
  InProcessNotificationCenter center;
  LongCall call(center);
  std::thread ender([&] { call.end(); });
  center.removeEveryObserver(&call);
  EXPECT_TRUE(call.ended());
  ender.join();
}

TEST(InProcessNotificationCenter, ARemovalWaitsForACallThatAnotherRemovalLeftUnderWay) {
  InProcessNotificationCenter center;
  LongCall call(center);
  int observer = 0;
  center.addObserver(&observer, "remove",
                     [&](const std::string&) { center.removeEveryObserver(&call); });
  center.post("remove");
  std::thread ender([&] { call.end(); });
  center.removeEveryObserver(&call);
  EXPECT_TRUE(call.ended());
  ender.join();
}

TEST(InProcessNotificationCenter, ARemovalFromACallbackDoesNotWait) {
  InProcessNotificationCenter center;
  LongCall call(center);
  int observer = 0;
  center.addObserver(&observer, "remove", [&](const std::string&) {
    center.removeEveryObserver(&call);
    center.removeEveryObserver(&observer);
  });
  center.post("remove");
  EXPECT_FALSE(call.ended());
  call.end();
}

}  // namespace
}  // namespace vemo
