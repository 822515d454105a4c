#include "platform/DBusNotificationCenter.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "PrivateBus.h"
#include "testing/Arrivals.h"
#include "testing/contracts/CrossProcessNotificationCenter_contract.h"

namespace vemo {
namespace {

/// A place where a bus should be: connections are made, and nothing answers them.
class SilentListener {
 public:
  SilentListener() {
    EXPECT_NE(::mkdtemp(folder_.data()), nullptr);
    sockaddr_un place{};
    place.sun_family = AF_UNIX;
    path().copy(place.sun_path, sizeof place.sun_path - 1);
    EXPECT_EQ(::bind(socket_, reinterpret_cast<const sockaddr*>(&place), sizeof place), 0);
    EXPECT_EQ(::listen(socket_, 5), 0);
  }
  ~SilentListener() {
    ::close(socket_);
    std::filesystem::remove_all(folder_);
  }
  SilentListener(const SilentListener&) = delete;
  SilentListener& operator=(const SilentListener&) = delete;

  std::string address() const { return "unix:path=" + path(); }

 private:
  std::string path() const { return folder_ + "/bus"; }

  const int socket_ = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  std::string folder_ = "/tmp/vemo-silent-XXXXXX";
};

struct DBusMaker {
  CrossProcessNotificationCenter& center() { return *center_; }
  void settle() {}
  void destroy() { center_.reset(); }

  PrivateBus bus_;
  std::unique_ptr<DBusNotificationCenter> center_ =
      DBusNotificationCenter::create({bus_.address()});
};
INSTANTIATE_TYPED_TEST_SUITE_P(DBus, CrossProcessNotificationCenterContract, DBusMaker);

struct DBusNotificationCenterTest : ::testing::Test {
  void listen(CrossProcessNotificationCenter& center, const std::string& name,
              const std::string& said = "") {
    center.addObserver(this, name,
                       [this, said](const std::string& got) { arrivals.add(said + got); });
  }

  /// Options for the bus, the news going to `news`.
  DBusNotificationCenterOptions watched() {
    DBusNotificationCenterOptions options;
    options.address = bus.address();
    options.news = [this](DBusNews what, const std::string& sentence) {
      EXPECT_NE(sentence, "");
      news.add(what);
    };
    return options;
  }

  Arrivals<std::string> arrivals;
  Arrivals<DBusNews> news;
  PrivateBus bus;
};

TEST_F(DBusNotificationCenterTest, CentresOfOneBusHearEachOther) {
  const auto here = DBusNotificationCenter::create({bus.address()});
  const auto there = DBusNotificationCenter::create({bus.address()});
  ASSERT_TRUE(here && there);
  listen(*here, "a");
  listen(*there, "a");
  here->post("a");
  EXPECT_EQ(arrivals.next(2), (std::vector<std::string>{"a", "a"}));
}

TEST_F(DBusNotificationCenterTest, ACentreThatRemovedItsObserverLeavesOthersTheirs) {
  const auto here = DBusNotificationCenter::create({bus.address()});
  const auto there = DBusNotificationCenter::create({bus.address()});
  ASSERT_TRUE(here && there);
  listen(*here, "a", "here ");
  listen(*there, "a", "there ");
  there->removeEveryObserver(this);
  listen(*there, "last", "there ");
  there->post("a");
  there->post("last");  // comes after what it would hear
  auto heard = arrivals.next(2);
  std::sort(heard.begin(), heard.end());
  EXPECT_EQ(heard, (std::vector<std::string>{"here a", "there last"}));
}

TEST_F(DBusNotificationCenterTest, OtherBusesHearNothing) {
  const PrivateBus elsewhere;
  const auto here = DBusNotificationCenter::create({bus.address()});
  const auto there = DBusNotificationCenter::create({elsewhere.address()});
  ASSERT_TRUE(here && there);
  listen(*here, "a", "here ");
  listen(*there, "a", "there ");
  listen(*there, "b", "there ");
  here->post("a");
  EXPECT_EQ(arrivals.next(), "here a");
  there->post("b");  // comes after what it would hear
  EXPECT_EQ(arrivals.next(), "there b");
}

TEST_F(DBusNotificationCenterTest, WhatWasPostedIsHeardAfterThePosterIsGone) {
  const auto here = DBusNotificationCenter::create({bus.address()});
  ASSERT_TRUE(here);
  listen(*here, "a");
  listen(*here, "b");
  {
    auto patient = watched();
    patient.endLimit = std::chrono::seconds(30);
    const auto brief = DBusNotificationCenter::create(patient);
    ASSERT_TRUE(brief);
    for (const auto* name : {"a", "b", "a"}) brief->post(name);
  }
  EXPECT_EQ(arrivals.next(3), (std::vector<std::string>{"a", "b", "a"}));
}

TEST_F(DBusNotificationCenterTest, NamesAreTexts) {
  const auto here = DBusNotificationCenter::create({bus.address()});
  ASSERT_TRUE(here);
  for (const auto* name : {"", "name with spaces", "课堂", "it's, \"quoted\"", "\uFFFD"}) {
    listen(*here, name);
    here->post(name);
    EXPECT_EQ(arrivals.next(), name);
  }
  here->post("\xFF");  // a bus takes valid text only
  EXPECT_EQ(arrivals.next(), "\uFFFD");
}

TEST_F(DBusNotificationCenterTest, AVeryLongNameIsDroppedAndHoldsUpNoOther) {
  const auto here = DBusNotificationCenter::create(watched());
  ASSERT_TRUE(here);
  const std::string longest(std::size_t{64} << 10U, 'n');
  for (const auto& name : {longest, longest + "n", std::string("last")}) {
    listen(*here, name);
    here->post(name);
  }
  EXPECT_TRUE(arrivals.next(2) == (std::vector<std::string>{longest, "last"}));
  EXPECT_EQ(news.next(), DBusNews::dropped);
}

TEST_F(DBusNotificationCenterTest, SignalsOfAnotherFormAreIgnored) {
  const auto here = DBusNotificationCenter::create({bus.address()});
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

TEST_F(DBusNotificationCenterTest, ManyArriveInTheirOrder) {
  const auto here = DBusNotificationCenter::create({bus.address()});
  ASSERT_TRUE(here);
  std::vector<std::string> names;
  for (int i = 0; i < 1000; ++i) names.push_back(std::to_string(i));
  for (const auto& name : names) listen(*here, name);
  for (const auto& name : names) here->post(name);
  EXPECT_EQ(arrivals.next(names.size()), names);
}

// ---- A bus that goes, and comes back

TEST_F(DBusNotificationCenterTest, ComesBackWithItsBus) {
  const auto here = DBusNotificationCenter::create(watched());
  ASSERT_TRUE(here);
  listen(*here, "before");
  bus.stop();
  EXPECT_EQ(news.next(), DBusNews::lost);
  listen(*here, "meanwhile");
  here->post("before");
  here->post("meanwhile");
  bus.start();
  EXPECT_EQ(news.next(), DBusNews::back);
  EXPECT_EQ(arrivals.next(2), (std::vector<std::string>{"before", "meanwhile"}));
  const auto other = DBusNotificationCenter::create({bus.address()});
  ASSERT_TRUE(other);
  other->post("meanwhile");
  EXPECT_EQ(arrivals.next(), "meanwhile");
  EXPECT_EQ(news.count(), 0U);
}

TEST_F(DBusNotificationCenterTest, ComesBackEachTime) {
  const auto here = DBusNotificationCenter::create(watched());
  ASSERT_TRUE(here);
  listen(*here, "a");
  for (int i = 0; i < 3; ++i) {
    bus.stop();
    EXPECT_EQ(news.next(), DBusNews::lost);
    bus.start();
    EXPECT_EQ(news.next(), DBusNews::back);
    here->post("a");
    EXPECT_EQ(arrivals.next(), "a");
  }
}

TEST_F(DBusNotificationCenterTest, WhatADeadBusHadNotPassedOnIsSentAgain) {
  const auto here = DBusNotificationCenter::create(watched());
  ASSERT_TRUE(here);
  listen(*here, "a");
  listen(*here, "b");
  bus.hang();
  here->post("a");
  here->post("b");
  bus.stop();
  EXPECT_EQ(news.next(), DBusNews::lost);
  bus.start();
  EXPECT_EQ(arrivals.next(2), (std::vector<std::string>{"a", "b"}));
}

TEST_F(DBusNotificationCenterTest, DropsTheOldestOfTooManyAndTellsIt) {
  auto options = watched();
  options.waitingLimit = 2;
  const auto here = DBusNotificationCenter::create(options);
  ASSERT_TRUE(here);
  for (const auto* name : {"a", "b", "c"}) listen(*here, name);
  bus.stop();
  EXPECT_EQ(news.next(), DBusNews::lost);
  for (const auto* name : {"a", "b", "c"}) here->post(name);
  EXPECT_EQ(news.next(), DBusNews::dropped);
  bus.start();
  EXPECT_EQ(news.next(), DBusNews::back);
  EXPECT_EQ(arrivals.next(2), (std::vector<std::string>{"b", "c"}));
}

TEST_F(DBusNotificationCenterTest, TellsAtTheEndWhatABusThatIsGoneDidNotTake) {
  auto here = DBusNotificationCenter::create(watched());
  ASSERT_TRUE(here);
  bus.stop();
  EXPECT_EQ(news.next(), DBusNews::lost);
  here->post("a");
  here.reset();
  EXPECT_EQ(news.next(), DBusNews::dropped);
}

TEST_F(DBusNotificationCenterTest, TheNewsMayEndTheCentre) {
  std::unique_ptr<DBusNotificationCenter> here;
  Arrivals<int> assigned;
  auto options = watched();
  options.news = [&](DBusNews what, const std::string&) {
    assigned.next();
    here.reset();
    news.add(what);
  };
  here = DBusNotificationCenter::create(std::move(options));
  ASSERT_TRUE(here);
  assigned.add(1);
  bus.stop();
  EXPECT_EQ(news.next(), DBusNews::lost);
  EXPECT_EQ(here, nullptr);
}

// ---- A bus that hangs

TEST_F(DBusNotificationCenterTest, ABusThatHasStoppedIsNone) {
  bus.hang();
  std::string error;
  DBusNotificationCenterOptions options;
  options.address = bus.address();
  options.connectLimit = std::chrono::milliseconds(100);
  EXPECT_EQ(DBusNotificationCenter::create(options, &error), nullptr);
  EXPECT_NE(error.find("timed out"), std::string::npos) << error;
}

TEST_F(DBusNotificationCenterTest, ABusThatAcceptsAndIsSilentIsNone) {
  const SilentListener listener;
  std::string error;
  DBusNotificationCenterOptions options;
  options.address = listener.address();
  options.connectLimit = std::chrono::milliseconds(100);
  const auto begun = std::chrono::steady_clock::now();
  EXPECT_EQ(DBusNotificationCenter::create(options, &error), nullptr);
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(30));
  EXPECT_NE(error.find("timed out"), std::string::npos) << error;
}

TEST_F(DBusNotificationCenterTest, EndsPromptlyWithABusThatHasStopped) {
  auto options = watched();
  options.endLimit = std::chrono::milliseconds(50);
  auto here = DBusNotificationCenter::create(options);
  ASSERT_TRUE(here);
  bus.hang();
  for (int i = 0; i < 1000; ++i) here->post("a");
  const auto begun = std::chrono::steady_clock::now();
  here.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(4));
  EXPECT_EQ(news.next(), DBusNews::dropped);
}

TEST_F(DBusNotificationCenterTest, ABusThatGoesOnGetsWhatWasPosted) {
  const auto here = DBusNotificationCenter::create(watched());
  ASSERT_TRUE(here);
  listen(*here, "a");
  bus.hang();
  for (int i = 0; i < 500; ++i) here->post("a");
  bus.goOn();
  EXPECT_EQ(arrivals.next(500).size(), 500U);
  EXPECT_EQ(news.count(), 0U);
}

TEST_F(DBusNotificationCenterTest, SaysWhyThereIsNoBus) {
  std::string error;
  EXPECT_EQ(DBusNotificationCenter::create({"unix:path=/nonexistent"}, &error), nullptr);
  EXPECT_NE(error.find("unix:path=/nonexistent"), std::string::npos) << error;
  error.clear();
  EXPECT_EQ(DBusNotificationCenter::create({"nonsense"}, &error), nullptr);
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

TEST_F(DBusNotificationCenterTest, ACentreIsMadeOnTheSessionBus) {
  const SessionBus session(bus.address());
  std::string whyNoBus;
  const auto center = makeCrossProcessCenter({}, &whyNoBus);
  EXPECT_EQ(whyNoBus, "");
  const auto other = DBusNotificationCenter::create({bus.address()});
  ASSERT_TRUE(center && other);
  listen(*center, "a");
  other->post("a");
  EXPECT_EQ(arrivals.next(), "a");
}

TEST_F(DBusNotificationCenterTest, WithoutABusACentreReachesItsProcess) {
  const SessionBus session("unix:path=/nonexistent");
  std::string whyNoBus;
  const auto center = makeCrossProcessCenter({}, &whyNoBus);
  EXPECT_NE(whyNoBus, "");
  ASSERT_TRUE(center);
  listen(*center, "a");
  center->post("a");
  EXPECT_EQ(arrivals.next(), "a");
}

}  // namespace
}  // namespace vemo
