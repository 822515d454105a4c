#include "platform/DBusNotificationCenter.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "PrivateBus.h"
#include "platform/CrossProcessCenter.h"
#include "testing/Arrivals.h"
#include "testing/contracts/CrossProcessNotificationCenter_contract.h"

namespace vemo {
namespace {

struct DBusMaker {
  CrossProcessNotificationCenter& center() { return *center_; }
  void settle() {}
  void destroy() { center_.reset(); }

  PrivateBus bus_;
  std::unique_ptr<DBusNotificationCenter> center_ = DBusNotificationCenter::create(bus_.address());
};
INSTANTIATE_TYPED_TEST_SUITE_P(DBus, CrossProcessNotificationCenterContract, DBusMaker);

struct DBusCrossProcessCenterTest : ::testing::Test {
  void listen(CrossProcessNotificationCenter& center, const std::string& name) {
    center.addObserver(this, name, [this](const std::string& got) { arrivals.add(got); });
  }

  Arrivals<std::string> arrivals;
  PrivateBus bus;
};

TEST_F(DBusCrossProcessCenterTest, CentresOfOneBusHearEachOther) {
  const auto here = DBusNotificationCenter::create(bus.address());
  const auto there = DBusNotificationCenter::create(bus.address());
  ASSERT_TRUE(here && there);
  listen(*here, "a");
  listen(*there, "a");
  here->post("a");
  EXPECT_EQ(arrivals.next(2), (std::vector<std::string>{"a", "a"}));
  there->removeEveryObserver(this);
  there->post("a");
  EXPECT_EQ(arrivals.next(), "a");
  EXPECT_EQ(arrivals.count(), 0U);
}

TEST_F(DBusCrossProcessCenterTest, OtherBusesHearNothing) {
  const PrivateBus elsewhere;
  const auto here = DBusNotificationCenter::create(bus.address());
  const auto there = DBusNotificationCenter::create(elsewhere.address());
  ASSERT_TRUE(here && there);
  listen(*there, "here");
  listen(*there, "there");
  here->post("here");
  there->post("there");
  EXPECT_EQ(arrivals.next(), "there");
  EXPECT_EQ(arrivals.count(), 0U);
}

TEST_F(DBusCrossProcessCenterTest, WhatWasPostedIsHeardAfterThePosterIsGone) {
  const auto here = DBusNotificationCenter::create(bus.address());
  ASSERT_TRUE(here);
  listen(*here, "a");
  listen(*here, "b");
  {
    const auto brief = DBusNotificationCenter::create(bus.address());
    ASSERT_TRUE(brief);
    for (const auto* name : {"a", "b", "a"}) brief->post(name);
  }
  EXPECT_EQ(arrivals.next(3), (std::vector<std::string>{"a", "b", "a"}));
}

TEST_F(DBusCrossProcessCenterTest, NamesAreTexts) {
  const auto here = DBusNotificationCenter::create(bus.address());
  ASSERT_TRUE(here);
  for (const auto* name : {"", "name with spaces", "课堂", "it's, \"quoted\"", "\uFFFD"}) {
    listen(*here, name);
    here->post(name);
    EXPECT_EQ(arrivals.next(), name);
  }
  here->post("\xFF");  // a bus takes valid text only
  EXPECT_EQ(arrivals.next(), "\uFFFD");
}

TEST_F(DBusCrossProcessCenterTest, SignalsOfAnotherFormAreIgnored) {
  const auto here = DBusNotificationCenter::create(bus.address());
  ASSERT_TRUE(here);
  listen(*here, "a");
  const auto send = "dbus-send --bus='" + bus.address() +
                    "' --type=signal /vemo/NotificationCenter vemo.NotificationCenter.Posted ";
  ASSERT_EQ(std::system((send + "int32:5").c_str()), 0);
  ASSERT_EQ(std::system(send.c_str()), 0);
  ASSERT_EQ(std::system((send + "string:a").c_str()), 0);
  EXPECT_EQ(arrivals.next(), "a");
  EXPECT_EQ(arrivals.count(), 0U);
}

TEST_F(DBusCrossProcessCenterTest, OutlivesItsBusInSilence) {
  const auto here = DBusNotificationCenter::create(bus.address());
  ASSERT_TRUE(here);
  listen(*here, "a");
  here->post("a");
  EXPECT_EQ(arrivals.next(), "a");
  bus.stop();
  here->post("a");
  here->removeObserver(this, "a");
  listen(*here, "a");
  here->post("a");
  EXPECT_EQ(arrivals.count(), 0U);
}

TEST_F(DBusCrossProcessCenterTest, SaysWhyThereIsNoBus) {
  std::string error;
  EXPECT_EQ(DBusNotificationCenter::create("unix:path=/nonexistent", &error), nullptr);
  EXPECT_NE(error.find("unix:path=/nonexistent"), std::string::npos) << error;
  error.clear();
  EXPECT_EQ(DBusNotificationCenter::create("nonsense", &error), nullptr);
  EXPECT_NE(error.find("nonsense"), std::string::npos) << error;
}

/// Names the session bus of the process, as the environment does.
class SessionBus {
 public:
  explicit SessionBus(const std::string& address) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", address.c_str(), 1);
  }
  ~SessionBus() { ::unsetenv("DBUS_SESSION_BUS_ADDRESS"); }
  SessionBus(const SessionBus&) = delete;
  SessionBus& operator=(const SessionBus&) = delete;
};

TEST_F(DBusCrossProcessCenterTest, ACentreIsMadeOnTheSessionBus) {
  const SessionBus session(bus.address());
  std::string whyNoBus;
  const auto center = makeCrossProcessCenter(&whyNoBus);
  EXPECT_EQ(whyNoBus, "");
  const auto other = DBusNotificationCenter::create(bus.address());
  ASSERT_TRUE(center && other);
  listen(*center, "a");
  other->post("a");
  EXPECT_EQ(arrivals.next(), "a");
}

TEST_F(DBusCrossProcessCenterTest, WithoutABusACentreReachesItsProcess) {
  const SessionBus session("unix:path=/nonexistent");
  std::string whyNoBus;
  const auto center = makeCrossProcessCenter(&whyNoBus);
  EXPECT_NE(whyNoBus, "");
  ASSERT_TRUE(center);
  listen(*center, "a");
  center->post("a");
  EXPECT_EQ(arrivals.next(), "a");
}

}  // namespace
}  // namespace vemo
