#include <dlfcn.h>
#include <gtest/gtest.h>
#include <systemd/sd-bus.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <memory>
#include <string>

#include "platform/DBusNotificationCenter.h"
#include "platform/PrivateBus.h"
#include "testing/Arrivals.h"

// Each call of the bus that a notification centre makes in a session fails once, one after
// another: it says that there is no bus, or goes on, and what was posted is heard or told as
// dropped. The calls come here first.

namespace {

// NOLINTBEGIN(cppcoreguidelines-avoid-non-const-global-variables): what the calls look at
std::atomic<long> callsMade = 0;
std::atomic<long> failingCall = 0;
std::atomic<const char*> failedCall = nullptr;
std::atomic<int> subscriptionsAsked = 0;
// NOLINTEND(cppcoreguidelines-avoid-non-const-global-variables)

/// Whether it is the turn of this call to fail.
bool fails(const char* name) {
  if (++callsMade != failingCall) return false;
  failedCall = name;
  return true;
}

/// What the library's `function` gives, or `error` when its turn to fail has come.
template <auto* function, class... Arguments>
int call(const char* name, int error, Arguments... arguments) {
  static auto* const real = reinterpret_cast<decltype(function)>(::dlsym(RTLD_NEXT, name));
  return fails(name) ? error : real(arguments...);
}

}  // namespace

extern "C" {

int sd_bus_new(sd_bus** ret) { return call<&::sd_bus_new>("sd_bus_new", -ENOMEM, ret); }
int sd_bus_set_address(sd_bus* bus, const char* address) {
  return call<&::sd_bus_set_address>("sd_bus_set_address", -ENOMEM, bus, address);
}
int sd_bus_set_bus_client(sd_bus* bus, int b) {
  return call<&::sd_bus_set_bus_client>("sd_bus_set_bus_client", -EPERM, bus, b);
}
int sd_bus_start(sd_bus* bus) { return call<&::sd_bus_start>("sd_bus_start", -ECONNREFUSED, bus); }
int sd_bus_get_address(sd_bus* bus, const char** address) {
  return call<&::sd_bus_get_address>("sd_bus_get_address", -ENODATA, bus, address);
}
int sd_bus_get_unique_name(sd_bus* bus, const char** unique) {
  return call<&::sd_bus_get_unique_name>("sd_bus_get_unique_name", -ENOTCONN, bus, unique);
}
int sd_bus_add_match_async(sd_bus* bus, sd_bus_slot** slot, const char* match,
                           sd_bus_message_handler_t callback,
                           sd_bus_message_handler_t install_callback, void* userdata) {
  ++subscriptionsAsked;
  subscriptionsAsked.notify_all();
  return call<&::sd_bus_add_match_async>("sd_bus_add_match_async", -ENOMEM, bus, slot, match,
                                         callback, install_callback, userdata);
}
int sd_bus_process(sd_bus* bus, sd_bus_message** r) {
  return call<&::sd_bus_process>("sd_bus_process", -ECONNRESET, bus, r);
}
int sd_bus_emit_signal(sd_bus* bus, const char* path, const char* interface, const char* member,
                       const char* types, ...) {
  std::va_list values;
  va_start(values, types);
  const int result = fails("sd_bus_emit_signal")
                         ? -ENOMEM
                         : sd_bus_emit_signalv(bus, path, interface, member, types, values);
  va_end(values);
  return result;
}
int sd_bus_message_read(sd_bus_message* message, const char* types, ...) {
  std::va_list values;
  va_start(values, types);
  const int result =
      fails("sd_bus_message_read") ? -ENOMEM : sd_bus_message_readv(message, types, values);
  va_end(values);
  return result;
}

}  // extern "C"

namespace vemo::test {
namespace {

/// What a centre's host hears: names, and what becomes of the bus.
using Heard = Arrivals<std::string>;

std::unique_ptr<DBusNotificationCenter> centre(const PrivateBus& bus, Heard& heard,
                                               std::string* why) {
  DBusNotificationCenterOptions options;
  options.address = bus.address();
  options.news = [&heard](DBusNews news, const std::string&) {
    if (news == DBusNews::dropped) heard.add("dropped");
    if (news == DBusNews::back) heard.add("back");
  };
  auto made = DBusNotificationCenter::create(std::move(options), why);
  for (const auto* name : {"first", "last"})
    if (made) made->addObserver(&heard, name, [&](const std::string& got) { heard.add(got); });
  return made;
}

/// Posts two names and waits until each was heard or dropped.
void hearBoth(CrossProcessNotificationCenter& posting, Heard& heard) {
  posting.post("first");
  posting.post("last");
  for (bool isDone = false; !isDone && !testing::Test::HasFailure();) {
    const auto next = heard.next();
    if (!next) return;
    if (*next == "dropped") posting.post("last");  // one of the two; so there is one to wait for
    isDone = next == "last";
  }
}

TEST(BusFaults, EachCallOfTheBusFailsOnceAndTheCentreGoesOn) {
  const PrivateBus bus;
  long tried = 0;
  for (;; ++tried) {
    failedCall = nullptr;
    callsMade = 0;
    failingCall = tried + 1;
    Heard heard;
    std::string why;
    auto center = centre(bus, heard, &why);
    if (!center) {
      EXPECT_TRUE(failedCall) << why;
      EXPECT_TRUE(why.starts_with("no bus at " + bus.address() + ": ")) << why;
      center = centre(bus, heard, &why);
      ASSERT_TRUE(center) << "the next is not made either: " << why;
    }
    hearBoth(*center, heard);
    const auto* const failed = failedCall.load();
    ASSERT_FALSE(HasFailure()) << "call " << tried + 1 << ", " << (failed ? failed : "none");
    center.reset();
    if (!failedCall) break;
  }
  failingCall = 0;
  EXPECT_GT(tried, 15) << "hardly anything was tried";
}

TEST(BusFaults, ABusThatRefusesASubscriptionIsNone) {
  PrivateBus bus;
  bus.stop();
  bus.refuseSubscriptions(true);
  bus.start();
  Heard heard;
  std::string why;
  EXPECT_EQ(centre(bus, heard, &why), nullptr);
  EXPECT_TRUE(why.starts_with("no bus at ")) << why;
}

TEST(BusFaults, ABusThatComesBackAndRefusesIsTriedAgain) {
  PrivateBus bus;
  Heard heard;
  std::string why;
  const auto center = centre(bus, heard, &why);
  ASSERT_TRUE(center) << why;
  bus.stop();
  bus.refuseSubscriptions(true);
  bus.start();
  for (const int asked = subscriptionsAsked; subscriptionsAsked < asked + 2;)
    subscriptionsAsked.wait(subscriptionsAsked);
  center->post("first");
  bus.stop();
  bus.refuseSubscriptions(false);
  bus.start();
  EXPECT_EQ(heard.next(), "back") << "and not before";
  EXPECT_EQ(heard.next(), "first");
}

}  // namespace
}  // namespace vemo::test
