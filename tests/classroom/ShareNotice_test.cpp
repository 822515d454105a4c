#include "classroom/ShareNotice.h"

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace vemo {
namespace {

/// A desktop's notifications on a bus of the test's own, in this thread's main context.
class ShareNoticeTest : public ::testing::Test {
 public:
  ShareNoticeTest() {
    g_test_dbus_up(bus_);
    desktop_ = connect();
    application_ = connect();
  }
  ~ShareNoticeTest() override {
    g_object_unref(application_);
    g_object_unref(desktop_);
    g_dbus_node_info_unref(interfaces_);
    // Not g_test_dbus_down: it waits for connections to the bus that others may still hold.
    g_test_dbus_stop(bus_);
    g_object_unref(bus_);
  }

 protected:
  static GDBusConnection* connect(GTestDBus* bus) {
    return g_dbus_connection_new_for_address_sync(
        g_test_dbus_get_bus_address(bus),
        static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                          G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
        nullptr, nullptr, nullptr);
  }
  GDBusConnection* connect() { return connect(bus_); }

  /// From now on there is somebody to show notifications.
  void begin() {
    static constexpr GDBusInterfaceVTable kCalls{
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* method,
           GVariant* parameters, GDBusMethodInvocation* call, gpointer self) {
          static_cast<ShareNoticeTest*>(self)->called(method, parameters, call);
        },
        nullptr,
        nullptr,
        {}};
    g_dbus_connection_register_object(desktop_, "/org/freedesktop/Notifications",
                                      interfaces_->interfaces[0], &kCalls, this, nullptr, nullptr);
    GVariant* owned = g_dbus_connection_call_sync(
        desktop_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
        "RequestName", g_variant_new("(su)", "org.freedesktop.Notifications", 0U), nullptr,
        G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
    g_variant_unref(owned);
  }
  void called(const std::string& method, GVariant* parameters, GDBusMethodInvocation* call) {
    if (method == "Notify") {
      const char* title = nullptr;
      g_variant_get_child(parameters, 3, "&s", &title);
      told_.push_back(std::string("show ") + title);
      g_dbus_method_invocation_return_value(call, g_variant_new("(u)", 7U));
    } else {
      guint32 id = 0;
      g_variant_get(parameters, "(u)", &id);
      told_.push_back("close " + std::to_string(id));
      g_dbus_method_invocation_return_value(call, nullptr);
    }
  }
  /// What was called, once there are so many.
  std::vector<std::string> told(std::size_t count) {
    while (told_.size() < count) g_main_context_iteration(nullptr, TRUE);
    return told_;
  }

  GTestDBus* const bus_ = g_test_dbus_new(G_TEST_DBUS_NONE);
  GDBusConnection* desktop_ = nullptr;
  GDBusConnection* application_ = nullptr;
  GDBusNodeInfo* const interfaces_ = g_dbus_node_info_new_for_xml(
      "<node><interface name='org.freedesktop.Notifications'>"
      "<method name='Notify'>"
      "<arg direction='in' type='s'/><arg direction='in' type='u'/><arg direction='in' type='s'/>"
      "<arg direction='in' type='s'/><arg direction='in' type='s'/><arg direction='in' type='as'/>"
      "<arg direction='in' type='a{sv}'/><arg direction='in' type='i'/>"
      "<arg direction='out' type='u'/></method>"
      "<method name='CloseNotification'><arg direction='in' type='u'/></method>"
      "</interface></node>",
      nullptr);
  std::vector<std::string> told_;
};

TEST_F(ShareNoticeTest, IsThereForAsLongAsTheScreenIsShared) {
  begin();
  const auto notice = std::make_shared<ShareNotice>(application_);
  notice->setShared(true);
  notice->setShared(true);
  EXPECT_EQ(told(1), (std::vector<std::string>{"show The screen is shared"}));
  notice->setShared(false);
  EXPECT_EQ(told(2).back(), "close 7");
  // Over before it was there.
  notice->setShared(true);
  notice->setShared(false);
  EXPECT_EQ(told(4), (std::vector<std::string>{"show The screen is shared", "close 7",
                                               "show The screen is shared", "close 7"}));
}

TEST_F(ShareNoticeTest, GoesWithItsWindow) {
  begin();
  auto notice = std::make_shared<ShareNotice>(application_);
  notice->setShared(true);
  told(1);
  notice.reset();
  EXPECT_EQ(told(2).back(), "close 7");
}

TEST_F(ShareNoticeTest, WhereNobodyShowsItNothingIsAsked) {
  const auto notice = std::make_shared<ShareNotice>(application_);
  notice->setShared(true);
  notice->setShared(false);
  const auto none = std::make_shared<ShareNotice>(nullptr);
  none->setShared(true);
  begin();
  const auto other = std::make_shared<ShareNotice>(application_);
  other->setShared(true);
  EXPECT_EQ(told(1).size(), 1U);
}

}  // namespace
}  // namespace vemo
