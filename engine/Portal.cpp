#include "engine/Portal.h"

#include <algorithm>

#include "engine/Gst.h"

namespace vemo::janus {
namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kDesktop = "/org/freedesktop/portal/desktop";
constexpr const char* kRequest = "org.freedesktop.portal.Request";
constexpr const char* kSession = "org.freedesktop.portal.Session";

/// Not asked of GLib, which would start a bus and wait for it where there is none.
std::string sessionBus() {
  if (const char* named = g_getenv("DBUS_SESSION_BUS_ADDRESS")) return named;
  const auto socket = std::string(g_get_user_runtime_dir()) + "/bus";
  const GText escaped(g_dbus_address_escape_value(socket.c_str()));
  return std::string("unix:path=") + escaped.get();
}

/// What the error says, without the name that it had on the bus.
std::string taken(GError* error) {
  g_dbus_error_strip_remote_error(error);
  std::string text = error->message;
  g_error_free(error);
  return text;
}

bool isTimeout(const GError* error) {
  return g_error_matches(error, G_IO_ERROR, G_IO_ERROR_TIMED_OUT) != FALSE ||
         g_error_matches(error, G_DBUS_ERROR, G_DBUS_ERROR_NO_REPLY) != FALSE;
}

}  // namespace

Portal::Portal(EngineThread& thread, Settings settings, Names names, Listener listener)
    : thread_(thread),
      settings_(std::move(settings)),
      names_(std::move(names)),
      listener_(std::move(listener)) {}

Portal::~Portal() { end(); }

void Portal::begin() {
  const auto address = settings_.bus.empty() ? sessionBus() : settings_.bus;
  expectWithin(settings_.answerTimeout, "the session bus does not answer");
  g_dbus_connection_new_for_address(
      address.c_str(),
      static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                        G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
      nullptr, nullptr,
      [](GObject*, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Weak> weak(static_cast<Weak*>(data));
        GError* error = nullptr;
        Bus made(g_dbus_connection_new_for_address_finish(result, &error));
        const auto why = error ? taken(error) : "";
        const auto self = weak->lock();
        if (!self || self->hasEnded_) return;
        if (!made) return self->fail("the session bus can't be reached: " + why);
        self->adopt(std::move(made));
      },
      new Weak(weak_from_this()));
}

void Portal::adopt(Bus made) {
  bus_ = std::move(made);
  using Closed = void (*)(GDBusConnection*, gboolean, GError*, gpointer);
  const Closed closed = [](GDBusConnection*, gboolean, GError*, gpointer data) {
    if (const auto self = static_cast<Weak*>(data)->lock()) {
      self->fail("the session bus went away");
    }
  };
  closedHandler_ = g_signal_connect_data(
      bus_.get(), "closed", G_CALLBACK(closed), new Weak(weak_from_this()),
      [](gpointer data, GClosure*) { delete static_cast<Weak*>(data); }, G_CONNECT_AFTER);
  subscribe(kPortal, kRequest, "Response", nullptr);
  subscribe(kPortal, kSession, "Closed", nullptr);
  subscribe("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", kPortal);
  expectWithin(settings_.answerTimeout, silence());
  callOn("org.freedesktop.DBus.Properties", "GetAll", g_variant_new("(s)", names_.interface),
         "the desktop has no " + names_.spoken + ": ", [this](GVariant* answer, GUnixFDList*) {
           deadline_.reset();
           if (!g_variant_is_of_type(answer, G_VARIANT_TYPE("(a{sv})"))) return fail(silence());
           const Variant properties(g_variant_get_child_value(answer, 0));
           listener_.onReady(properties.get());
         });
}

void Portal::subscribe(const char* sender, const char* interface, const char* name,
                       const char* argument) {
  subscriptions_.push_back(g_dbus_connection_signal_subscribe(
      bus_.get(), sender, interface, name, nullptr, argument, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const gchar*, const gchar* object, const gchar*, const gchar* signalName,
         GVariant* parameters, gpointer data) {
        const auto self = static_cast<Weak*>(data)->lock();
        if (self && !self->hasEnded_) self->signal(object, signalName, parameters);
      },
      new Weak(weak_from_this()), [](gpointer data) { delete static_cast<Weak*>(data); }));
}

void Portal::signal(const char* object, const std::string& name, GVariant* parameters) {
  if (name == "NameOwnerChanged") {
    const char* owner = "";
    if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sss)"))) {
      g_variant_get_child(parameters, 2, "&s", &owner);
      if (*owner == '\0') fail("the " + names_.spoken + " went away");
    }
  } else if (name == "Closed") {
    if (listener_.onSessionClosed) listener_.onSessionClosed(object);
  } else if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})"))) {
    guint32 code = 0;
    GVariant* results = nullptr;
    g_variant_get(parameters, "(u@a{sv})", &code, &results);
    const Variant held(results);
    response(object, code, results);
  }
}

void Portal::expectWithin(std::chrono::milliseconds patience, const std::string& otherwise) {
  deadline_ = thread_.after(patience, [weak = weak_from_this(), otherwise] {
    if (const auto self = weak.lock()) self->fail(otherwise);
  });
}

void Portal::call(const char* method, GVariant* parameters, Answered answered) {
  callOn(names_.interface, method, parameters,
         "the " + names_.spoken + " refuses: ", std::move(answered));
}

void Portal::callOn(const char* interface, const char* method, GVariant* parameters,
                    const std::string& prefix, Answered answered) {
  struct Call {
    Weak weak;
    std::string prefix;
    Answered answered;
  };
  g_dbus_connection_call_with_unix_fd_list(
      bus_.get(), kPortal, kDesktop, interface, method, parameters, nullptr, G_DBUS_CALL_FLAGS_NONE,
      static_cast<gint>(settings_.answerTimeout.count()), nullptr, nullptr,
      [](GObject* source, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<Call> made(static_cast<Call*>(data));
        GError* error = nullptr;
        GUnixFDList* descriptors = nullptr;
        const Variant answer(g_dbus_connection_call_with_unix_fd_list_finish(
            G_DBUS_CONNECTION(source), &descriptors, result, &error));
        const std::unique_ptr<GUnixFDList, decltype(&g_object_unref)> held(descriptors,
                                                                           g_object_unref);
        const bool isLate = error && isTimeout(error);
        const auto why = error ? taken(error) : "";
        const auto self = made->weak.lock();
        if (!self || self->hasEnded_) return;
        if (isLate) return self->fail(self->silence());
        if (!answer) return self->fail(made->prefix + why);
        made->answered(answer.get(), descriptors);
      },
      new Call{weak_from_this(), prefix, std::move(answered)});
}

void Portal::request(const char* method, const std::vector<GVariant*>& arguments, Options options,
                     Responded responded) {
  requestOfUser(method, arguments, std::move(options), settings_.answerTimeout, silence(),
                std::move(responded));
}

void Portal::requestOfUser(const char* method, const std::vector<GVariant*>& arguments,
                           Options options, std::chrono::milliseconds patience,
                           const std::string& otherwise, Responded responded) {
  const auto token = "vemo" + std::to_string(++requests_);
  options.emplace_back("handle_token", g_variant_new_string(token.c_str()));
  GVariantBuilder parameters;
  g_variant_builder_init(&parameters, G_VARIANT_TYPE_TUPLE);
  for (auto* argument : arguments) g_variant_builder_add_value(&parameters, argument);
  g_variant_builder_open(&parameters, G_VARIANT_TYPE_VARDICT);
  for (const auto& [key, value] : options) {
    g_variant_builder_add(&parameters, "{sv}", key, value);
  }
  g_variant_builder_close(&parameters);

  // Known before the call, as the response may come before the answer.
  std::string sender = g_dbus_connection_get_unique_name(bus_.get()) + 1;
  std::ranges::replace(sender, '.', '_');
  requested_ = std::string(kDesktop) + "/request/" + sender + "/" + token;
  responded_ = std::move(responded);
  expectWithin(patience, otherwise);
  call(method, g_variant_builder_end(&parameters),
       [this, asked = requested_](GVariant* answer, GUnixFDList*) {
         if (requested_ != asked || !g_variant_is_of_type(answer, G_VARIANT_TYPE("(o)"))) return;
         const char* object = "";
         g_variant_get(answer, "(&o)", &object);
         requested_ = object;  // early portals name it themselves
       });
}

void Portal::response(const std::string& object, std::uint32_t code, GVariant* results) {
  constexpr std::uint32_t kCancelled = 1;
  if (object != requested_) return;
  requested_.clear();
  deadline_.reset();
  if (code == kCancelled) return fail("the user did not allow it", true);
  if (code != 0) return fail("the " + names_.spoken + " ended the request");
  std::exchange(responded_, nullptr)(results);
}

void Portal::send(const std::string& object, const char* interface, const char* method) const {
  g_dbus_connection_call(bus_.get(), kPortal, object.c_str(), interface, method, nullptr, nullptr,
                         G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
}

void Portal::withdraw() {
  deadline_.reset();
  responded_ = nullptr;
  const auto object = std::exchange(requested_, "");
  if (bus_ && !object.empty()) send(object, kRequest, "Close");
}

void Portal::closeSession(const std::string& session) const {
  if (bus_) send(session, kSession, "Close");
}

void Portal::fail(const std::string& why, bool byUser) {
  if (hasEnded_) return;
  const auto self = shared_from_this();
  listener_.onFailed(why, byUser);
  end();
}

void Portal::end() {
  if (std::exchange(hasEnded_, true)) return;
  withdraw();
  if (!bus_) return;
  g_signal_handler_disconnect(bus_.get(), closedHandler_);
  for (const auto id : std::exchange(subscriptions_, {})) {
    g_dbus_connection_signal_unsubscribe(bus_.get(), id);
  }
  // Closed behind what was sent; the engine waits for it before it goes.
  g_dbus_connection_flush(
      bus_.get(), nullptr,
      [](GObject* flushed, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<EngineThread::Busy> busy(static_cast<EngineThread::Busy*>(data));
        auto* ending = G_DBUS_CONNECTION(flushed);
        g_dbus_connection_flush_finish(ending, result, nullptr);
        g_dbus_connection_close(ending, nullptr, nullptr, nullptr);
      },
      new EngineThread::Busy(thread_.busy()));
  bus_.reset();
}

}  // namespace vemo::janus
