#pragma once

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include "engine/EngineThread.h"
#include "testing/Arrivals.h"

namespace vemo {

/// A desktop's portals of screens and cameras on a bus, on a thread of their own, whose user allows
/// everything unless something goes wrong.
class FakePortal {
 public:
  enum class Trouble { none, silent, error, cancelled, ended, empty };
  struct Plan {
    std::string method{};  ///< in which something goes wrong
    Trouble trouble = Trouble::none;
    std::function<int()> openRemote{};  ///< makes the descriptor that is handed over
    std::function<guint32()> node = [] { return guint32{1}; };  ///< the number of what is shared
  };

  FakePortal(const std::string& bus, Plan plan) : plan_(std::move(plan)) {
    onItsThread([this, bus] {
      bus_ = g_dbus_connection_new_for_address_sync(
          bus.c_str(),
          static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                            G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
          nullptr, nullptr, nullptr);
      serve(kDesktop, kScreenCast);
      serve(kDesktop, kCamera);
      GVariant* owned = g_dbus_connection_call_sync(
          bus_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
          "RequestName", g_variant_new("(su)", "org.freedesktop.portal.Desktop", 0U), nullptr,
          G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr);
      g_variant_unref(owned);
    });
  }
  ~FakePortal() {
    die();
    g_dbus_node_info_unref(interfaces_);
  }
  FakePortal(const FakePortal&) = delete;
  FakePortal& operator=(const FakePortal&) = delete;

  /// What was called, as "Start".
  Arrivals<std::string> calls;

  /// Goes from the bus, as a process that crashes.
  void die() {
    onItsThread([this] {
      if (!bus_) return;
      g_dbus_connection_flush_sync(bus_, nullptr, nullptr);  // what it answered is heard
      g_dbus_connection_close_sync(bus_, nullptr, nullptr);
      g_object_unref(std::exchange(bus_, nullptr));
    });
  }
  /// The user ends the share at the desktop.
  void closeSession() {
    onItsThread([this] { emit(session_, "org.freedesktop.portal.Session", "Closed", nullptr); });
  }

 private:
  static constexpr const char* kDesktop = "/org/freedesktop/portal/desktop";
  enum Interface { kScreenCast, kRequest, kSession, kCamera };  // as they stand in interfaces_

  void onItsThread(const std::function<void()>& task) {
    Arrivals<bool> done;
    thread_.post([&] {
      task();
      done.add(true);
    });
    done.next();
  }
  void serve(const std::string& object, Interface interface) {
    static constexpr GDBusInterfaceVTable kCalls{
        [](GDBusConnection*, const gchar* sender, const gchar*, const gchar* kind,
           const gchar* method, GVariant* parameters, GDBusMethodInvocation* call, gpointer self) {
          static_cast<FakePortal*>(self)->called(sender, kind, method, parameters, call);
        },
        [](GDBusConnection*, const gchar*, const gchar*, const gchar*, const gchar* name, GError**,
           gpointer) {
          constexpr guint32 kAll = 7;
          return std::string(name) == "IsCameraPresent" ? g_variant_new_boolean(TRUE)
                                                        : g_variant_new_uint32(kAll);
        },
        nullptr,
        {}};
    g_dbus_connection_register_object(bus_, object.c_str(), interfaces_->interfaces[interface],
                                      &kCalls, this, nullptr, nullptr);
  }
  void emit(const std::string& object, const char* interface, const char* signal,
            GVariant* parameters) {
    g_dbus_connection_emit_signal(bus_, client_.c_str(), object.c_str(), interface, signal,
                                  parameters, nullptr);
  }
  static std::string textIn(GVariant* options, const char* key) {
    const char* text = "";
    g_variant_lookup(options, key, "&s", &text);
    return text;
  }
  void called(const std::string& sender, const std::string& interface, const std::string& method,
              GVariant* parameters, GDBusMethodInvocation* call) {
    client_ = sender;
    if (method == "Close") {
      g_dbus_method_invocation_return_value(call, nullptr);
      calls.add(interface == "org.freedesktop.portal.Session" ? "close session" : "close request");
      return;
    }
    GVariant* options = g_variant_get_child_value(parameters, g_variant_n_children(parameters) - 1);
    const auto token = textIn(options, "handle_token");
    const auto session = textIn(options, "session_handle_token");
    guint32 types = 0;
    guint32 pointer = 0;
    g_variant_lookup(options, "types", "u", &types);
    g_variant_lookup(options, "cursor_mode", "u", &pointer);
    g_variant_unref(options);
    const auto trouble = method == plan_.method ? plan_.trouble : Trouble::none;
    auto name = client_.substr(1);
    std::ranges::replace(name, '.', '_');
    if (trouble == Trouble::error) {
      g_dbus_method_invocation_return_dbus_error(call, "org.freedesktop.portal.Error.Failed",
                                                 "there was trouble");
    } else if (method == "OpenPipeWireRemote") {
      openRemote(call, trouble);
    } else {
      request(call, method, std::string(kDesktop) + "/request/" + name + "/" + token,
              std::string(kDesktop) + "/session/" + name + "/" + session, trouble);
    }
    calls.add(method == "SelectSources"
                  ? method + " of " + std::to_string(types) + ", pointer " + std::to_string(pointer)
                  : method);
  }
  void openRemote(GDBusMethodInvocation* call, Trouble trouble) {
    GUnixFDList* descriptors = g_unix_fd_list_new();
    if (plan_.openRemote && trouble != Trouble::empty) {
      const int made = plan_.openRemote();
      g_unix_fd_list_append(descriptors, made, nullptr);  // a copy
      ::close(made);
    }
    g_dbus_method_invocation_return_value_with_unix_fd_list(call, g_variant_new("(h)", 0),
                                                            descriptors);
    g_object_unref(descriptors);
  }
  void request(GDBusMethodInvocation* call, const std::string& method, const std::string& object,
               const std::string& session, Trouble trouble) {
    serve(object, kRequest);
    g_dbus_method_invocation_return_value(call, g_variant_new("(o)", object.c_str()));
    if (trouble == Trouble::silent) return;
    GVariantBuilder results;
    g_variant_builder_init(&results, G_VARIANT_TYPE_VARDICT);
    if (method == "CreateSession" && trouble != Trouble::empty) {
      session_ = session;
      serve(session, kSession);
      g_variant_builder_add(&results, "{sv}", "session_handle",
                            g_variant_new_string(session.c_str()));
    } else if (method == "Start") {
      g_variant_builder_add(&results, "{sv}", "streams",
                            trouble == Trouble::empty
                                ? g_variant_new_parsed("@a(ua{sv}) []")
                                : g_variant_new_parsed("[(%u, @a{sv} {})]", plan_.node()));
    }
    const guint32 code = trouble == Trouble::cancelled ? 1 : trouble == Trouble::ended ? 2 : 0;
    emit(object, "org.freedesktop.portal.Request", "Response",
         g_variant_new("(ua{sv})", code, &results));
  }
  const Plan plan_;
  GDBusNodeInfo* const interfaces_ = g_dbus_node_info_new_for_xml(
      "<node><interface name='org.freedesktop.portal.ScreenCast'>"
      "<method name='CreateSession'><arg direction='in' type='a{sv}'/>"
      "<arg direction='out' type='o'/></method>"
      "<method name='SelectSources'><arg direction='in' type='o'/>"
      "<arg direction='in' type='a{sv}'/><arg direction='out' type='o'/></method>"
      "<method name='Start'><arg direction='in' type='o'/><arg direction='in' type='s'/>"
      "<arg direction='in' type='a{sv}'/><arg direction='out' type='o'/></method>"
      "<method name='OpenPipeWireRemote'><arg direction='in' type='o'/>"
      "<arg direction='in' type='a{sv}'/><arg direction='out' type='h'/></method>"
      "<property name='AvailableSourceTypes' type='u' access='read'/>"
      "<property name='AvailableCursorModes' type='u' access='read'/></interface>"
      "<interface name='org.freedesktop.portal.Request'><method name='Close'/></interface>"
      "<interface name='org.freedesktop.portal.Session'><method name='Close'/></interface>"
      "<interface name='org.freedesktop.portal.Camera'>"
      "<method name='AccessCamera'><arg direction='in' type='a{sv}'/>"
      "<arg direction='out' type='o'/></method>"
      "<property name='IsCameraPresent' type='b' access='read'/>"
      "<property name='version' type='u' access='read'/></interface></node>",
      nullptr);
  GDBusConnection* bus_ = nullptr;
  std::string client_, session_;
  EngineThread thread_;  // goes first
};

}  // namespace vemo
