#include "classroom/ShareNotice.h"

#include <utility>

namespace vemo {
namespace {

constexpr const char* kService = "org.freedesktop.Notifications";
constexpr const char* kObject = "/org/freedesktop/Notifications";

GVariant* notification() {
  GVariantBuilder actions;
  g_variant_builder_init(&actions, G_VARIANT_TYPE("as"));
  GVariantBuilder hints;
  g_variant_builder_init(&hints, G_VARIANT_TYPE("a{sv}"));
  g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string("vemo-classroom"));
  g_variant_builder_add(&hints, "{sv}", "resident", g_variant_new_boolean(TRUE));
  constexpr guint32 kNew = 0;
  constexpr gint32 kForever = 0;
  return g_variant_new("(susssasa{sv}i)", "Classroom", kNew, "vemo-classroom",
                       "The screen is shared", "The class sees it until you stop sharing.",
                       &actions, &hints, kForever);
}

void withdraw(GDBusConnection* bus, guint32 id) {
  g_dbus_connection_call(bus, kService, kObject, kService, "CloseNotification",
                         g_variant_new("(u)", id), nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
                         nullptr, nullptr);
}

}  // namespace

ShareNotice::ShareNotice(GDBusConnection* bus)
    : bus_(bus ? G_DBUS_CONNECTION(g_object_ref(bus)) : nullptr) {}

ShareNotice::~ShareNotice() {
  if (id_ == 0) return;
  withdraw(bus_.get(), id_);
  g_dbus_connection_flush_sync(bus_.get(), nullptr, nullptr);  // the process may be at its end
}

void ShareNotice::setShared(bool shared) {
  shared_ = shared;
  update();
}

void ShareNotice::update() {
  if (!bus_ || asked_ || shared_ == (id_ != 0)) return;
  if (!shared_) return withdraw(bus_.get(), std::exchange(id_, 0));
  asked_ = true;
  g_dbus_connection_call(
      bus_.get(), kService, kObject, kService, "Notify", notification(), G_VARIANT_TYPE("(u)"),
      G_DBUS_CALL_FLAGS_NONE, -1, nullptr,
      [](GObject* bus, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<std::weak_ptr<ShareNotice>> weak(
            static_cast<std::weak_ptr<ShareNotice>*>(data));
        GError* error = nullptr;
        GVariant* answer = g_dbus_connection_call_finish(G_DBUS_CONNECTION(bus), result, &error);
        if (error) g_error_free(error);  // there is nobody to show it
        guint32 id = 0;
        if (answer) {
          g_variant_get(answer, "(u)", &id);
          g_variant_unref(answer);
        }
        const auto self = weak->lock();
        if (!self) {
          if (id != 0) withdraw(G_DBUS_CONNECTION(bus), id);
          return;
        }
        self->asked_ = false;
        self->id_ = id;
        if (id == 0) self->shared_ = false;  // not asked again
        self->update();
      },
      new std::weak_ptr(weak_from_this()));
}

}  // namespace vemo
