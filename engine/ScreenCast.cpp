#include "engine/ScreenCast.h"

#include <gio/gio.h>
#include <gio/gunixfdlist.h>
#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <utility>
#include <vector>

namespace vemo::janus {
namespace {

constexpr const char* kPortal = "org.freedesktop.portal.Desktop";
constexpr const char* kDesktop = "/org/freedesktop/portal/desktop";
constexpr const char* kScreenCast = "org.freedesktop.portal.ScreenCast";
constexpr const char* kRequest = "org.freedesktop.portal.Request";
constexpr const char* kSession = "org.freedesktop.portal.Session";
constexpr const char* kNone = "the desktop has no screencast portal: ";
constexpr const char* kRefused = "the screencast portal refuses: ";

constexpr std::uint32_t kMonitor = 1;
constexpr std::uint32_t kWindow = 2;
constexpr std::uint32_t kPointerInPicture = 2;

struct VariantUnref {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using Variant = std::unique_ptr<GVariant, VariantUnref>;

/// A file descriptor of ours.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { ::close(number_); }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int number() const { return number_; }

 private:
  const int number_;
};

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

std::string textIn(GVariant* dictionary, const char* key) {
  const Variant found(g_variant_lookup_value(dictionary, key, nullptr));
  const bool isText = found && (g_variant_is_of_type(found.get(), G_VARIANT_TYPE_STRING) ||
                                g_variant_is_of_type(found.get(), G_VARIANT_TYPE_OBJECT_PATH));
  return isText ? g_variant_get_string(found.get(), nullptr) : "";
}

std::uint32_t numberIn(GVariant* dictionary, const char* key) {
  guint32 number = 0;
  g_variant_lookup(dictionary, key, "u", &number);
  return number;
}

}  // namespace

struct ScreenCast::State : std::enable_shared_from_this<State> {
  struct SourceEnd {
    void operator()(GSource* source) const {
      g_source_destroy(source);
      g_source_unref(source);
    }
  };
  struct BusUnref {
    void operator()(GDBusConnection* held) const { g_object_unref(held); }
  };
  using Bus = std::unique_ptr<GDBusConnection, BusUnref>;
  using Weak = std::weak_ptr<State>;
  using Answered = std::function<void(State&, GVariant* answer, GUnixFDList* descriptors)>;
  using Responded = std::function<void(State&, GVariant* results)>;
  /// Options of a request, by their names.
  using Options = std::vector<std::pair<const char*, GVariant*>>;

  State(EngineThread& on, Settings given, Listener tell)
      : thread(on), settings(std::move(given)), listener(std::move(tell)) {}

  void begin();
  void adopt(Bus made);
  void lookAround();
  void createSession();
  void selectSources();
  void start();
  void openRemote(GVariant* results);
  void watch(int remote);

  void call(const char* object, const char* interface, const char* method, GVariant* parameters,
            const char* prefix, Answered answered);
  /// Calls a method whose answer is a request, and is told its results once it is responded to.
  void request(const char* method, const std::vector<GVariant*>& arguments, Options options,
               std::chrono::milliseconds patience, Responded then);
  void response(const std::string& object, std::uint32_t code, GVariant* results);
  void signal(const char* object, const std::string& name, GVariant* parameters);
  void subscribe(const char* sender, const char* interface, const char* name, const char* argument);
  void expectWithin(std::chrono::milliseconds patience, const std::string& otherwise);
  /// Without waiting for an answer.
  void send(const std::string& object, const char* interface, const char* method) const {
    g_dbus_connection_call(bus.get(), kPortal, object.c_str(), interface, method, nullptr, nullptr,
                           G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr, nullptr);
  }
  void failed(const std::string& why) {
    const auto self = shared_from_this();
    end();
    listener.onFailed(why);
  }
  void end();

  EngineThread& thread;
  const Settings settings;
  const Listener listener;
  Bus bus;
  gulong closedHandler = 0;
  std::vector<guint> subscriptions;
  std::uint32_t sources = 0, pointers = 0;  // that the portal can share, and show
  int requests = 0;
  std::string requested;  // the object of the request that is not responded to
  Responded responded;
  std::string session;
  bool isReady = false;
  std::unique_ptr<GSource, SourceEnd> watched;
  EngineThread::Timer deadline;
  EngineThread::Busy asking;
};

void ScreenCast::State::begin() {
  const auto address = settings.bus.empty() ? sessionBus() : settings.bus;
  expectWithin(settings.answerTimeout, "the session bus does not answer");
  // A connection of its own: when that ends the portal ends the share, whatever else happens.
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
        if (!self || !self->asking) return;
        if (!made) return self->failed("the session bus can't be reached: " + why);
        self->adopt(std::move(made));
      },
      new Weak(weak_from_this()));
}

void ScreenCast::State::adopt(Bus made) {
  bus = std::move(made);
  using Closed = void (*)(GDBusConnection*, gboolean, GError*, gpointer);
  const Closed closed = [](GDBusConnection*, gboolean, GError*, gpointer data) {
    if (const auto self = static_cast<Weak*>(data)->lock()) {
      self->failed("the session bus went away");
    }
  };
  closedHandler = g_signal_connect_data(
      bus.get(), "closed", G_CALLBACK(closed), new Weak(weak_from_this()),
      [](gpointer data, GClosure*) { delete static_cast<Weak*>(data); }, G_CONNECT_AFTER);
  subscribe(kPortal, kRequest, "Response", nullptr);
  subscribe(kPortal, kSession, "Closed", nullptr);
  subscribe("org.freedesktop.DBus", "org.freedesktop.DBus", "NameOwnerChanged", kPortal);
  lookAround();
}

void ScreenCast::State::subscribe(const char* sender, const char* interface, const char* name,
                                  const char* argument) {
  subscriptions.push_back(g_dbus_connection_signal_subscribe(
      bus.get(), sender, interface, name, nullptr, argument, G_DBUS_SIGNAL_FLAGS_NONE,
      [](GDBusConnection*, const gchar*, const gchar* object, const gchar*, const gchar* signalName,
         GVariant* parameters, gpointer data) {
        const auto self = static_cast<Weak*>(data)->lock();
        if (self && self->bus) self->signal(object, signalName, parameters);
      },
      new Weak(weak_from_this()), [](gpointer data) { delete static_cast<Weak*>(data); }));
}

void ScreenCast::State::signal(const char* object, const std::string& name, GVariant* parameters) {
  if (name == "NameOwnerChanged") {
    const char* owner = "";
    if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(sss)"))) {
      g_variant_get_child(parameters, 2, "&s", &owner);
      if (*owner == '\0') failed("the screencast portal went away");
    }
  } else if (name == "Closed") {
    if (object != session) return;
    session.clear();
    if (!isReady) return failed("the screencast portal ended the session");
    const auto self = shared_from_this();
    end();
    listener.onClosed();
  } else if (g_variant_is_of_type(parameters, G_VARIANT_TYPE("(ua{sv})"))) {
    guint32 code = 0;
    GVariant* results = nullptr;
    g_variant_get(parameters, "(u@a{sv})", &code, &results);
    const Variant held(results);
    response(object, code, results);
  }
}

void ScreenCast::State::expectWithin(std::chrono::milliseconds patience,
                                     const std::string& otherwise) {
  deadline = thread.after(patience, [weak = weak_from_this(), otherwise] {
    if (const auto self = weak.lock()) self->failed(otherwise);
  });
}

void ScreenCast::State::call(const char* object, const char* interface, const char* method,
                             GVariant* parameters, const char* prefix, Answered answered) {
  struct Call {
    Weak weak;
    const char* prefix;
    Answered answered;
  };
  g_dbus_connection_call_with_unix_fd_list(
      bus.get(), kPortal, object, interface, method, parameters, nullptr, G_DBUS_CALL_FLAGS_NONE,
      static_cast<gint>(settings.answerTimeout.count()), nullptr, nullptr,
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
        if (!self || !self->bus) return;
        if (isLate) return self->failed("the screencast portal does not answer");
        if (!answer) return self->failed(made->prefix + why);
        made->answered(*self, answer.get(), descriptors);
      },
      new Call{weak_from_this(), prefix, std::move(answered)});
}

void ScreenCast::State::request(const char* method, const std::vector<GVariant*>& arguments,
                                Options options, std::chrono::milliseconds patience,
                                Responded then) {
  const auto token = "vemo" + std::to_string(++requests);
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
  std::string sender = g_dbus_connection_get_unique_name(bus.get()) + 1;
  std::ranges::replace(sender, '.', '_');
  requested = std::string(kDesktop) + "/request/" + sender + "/" + token;
  responded = std::move(then);
  expectWithin(patience, patience == settings.choiceTimeout
                             ? "the user did not choose what to share"
                             : "the screencast portal does not answer");
  call(kDesktop, kScreenCast, method, g_variant_builder_end(&parameters), kRefused,
       [asked = requested](State& self, GVariant* answer, GUnixFDList*) {
         if (self.requested != asked || !g_variant_is_of_type(answer, G_VARIANT_TYPE("(o)"))) {
           return;
         }
         const char* object = "";
         g_variant_get(answer, "(&o)", &object);
         self.requested = object;  // early portals name it themselves
       });
}

void ScreenCast::State::response(const std::string& object, std::uint32_t code, GVariant* results) {
  constexpr std::uint32_t kCancelled = 1;
  if (object != requested) return;
  requested.clear();
  deadline.reset();
  if (code == kCancelled) return failed("the user did not allow it");
  if (code != 0) return failed("the screencast portal ended the request");
  std::exchange(responded, nullptr)(*this, results);
}

void ScreenCast::State::lookAround() {
  expectWithin(settings.answerTimeout, "the screencast portal does not answer");
  call(kDesktop, "org.freedesktop.DBus.Properties", "GetAll", g_variant_new("(s)", kScreenCast),
       kNone, [](State& self, GVariant* answer, GUnixFDList*) {
         if (g_variant_is_of_type(answer, G_VARIANT_TYPE("(a{sv})"))) {
           const Variant properties(g_variant_get_child_value(answer, 0));
           self.sources = numberIn(properties.get(), "AvailableSourceTypes");
           self.pointers = numberIn(properties.get(), "AvailableCursorModes");
         }
         self.createSession();
       });
}

void ScreenCast::State::createSession() {
  request("CreateSession", {}, {{"session_handle_token", g_variant_new_string("vemo")}},
          settings.answerTimeout, [](State& self, GVariant* results) {
            self.session = textIn(results, "session_handle");
            if (!g_variant_is_object_path(self.session.c_str())) {
              self.session.clear();
              return self.failed("the screencast portal names no session");
            }
            self.selectSources();
          });
}

void ScreenCast::State::selectSources() {
  Options options;
  // What is not named is the portal's choice: to ask for what it has not is an error.
  const auto wanted = sources & (kMonitor | kWindow);
  if (wanted != 0) options.emplace_back("types", g_variant_new_uint32(wanted));
  if ((pointers & kPointerInPicture) != 0) {
    options.emplace_back("cursor_mode", g_variant_new_uint32(kPointerInPicture));
  }
  request("SelectSources", {g_variant_new_object_path(session.c_str())}, std::move(options),
          settings.answerTimeout, [](State& self, GVariant*) { self.start(); });
}

void ScreenCast::State::start() {
  constexpr const char* kNoWindow = "";
  request("Start", {g_variant_new_object_path(session.c_str()), g_variant_new_string(kNoWindow)},
          {}, settings.choiceTimeout,
          [](State& self, GVariant* results) { self.openRemote(results); });
}

void ScreenCast::State::openRemote(GVariant* results) {
  const Variant streams(g_variant_lookup_value(results, "streams", G_VARIANT_TYPE("a(ua{sv})")));
  if (!streams || g_variant_n_children(streams.get()) == 0) {
    return failed("the screencast portal shares nothing");
  }
  guint32 node = 0;
  g_variant_get_child(streams.get(), 0, "(u@a{sv})", &node, nullptr);
  call(kDesktop, kScreenCast, "OpenPipeWireRemote",
       g_variant_new("(oa{sv})", session.c_str(), nullptr), kRefused,
       [node](State& self, GVariant* answer, GUnixFDList* descriptors) {
         gint32 index = -1;
         if (g_variant_is_of_type(answer, G_VARIANT_TYPE("(h)"))) {
           g_variant_get(answer, "(h)", &index);
         }
         const int number =
             descriptors && index >= 0 && index < g_unix_fd_list_get_length(descriptors)
                 ? g_unix_fd_list_get(descriptors, index, nullptr)
                 : -1;
         if (number < 0) return self.failed("the screencast portal opens no way to its pictures");
         const auto remote = std::make_shared<Descriptor>(number);
         self.isReady = true;
         self.asking.reset();
         self.watch(number);
         // A picture that does not change is sent again and again, for those who come later.
         self.listener.onReady(
             {.devices = {"pipewiresrc do-timestamp=true keepalive-time=500 fd=" +
                          std::to_string(number) + " path=" + std::to_string(node)},
              .substitute = "",
              .wake = [remote] { ::shutdown(remote->number(), SHUT_RDWR); }});
       });
}

/// A source whose PipeWire is gone gives no pictures, and takes long to say so.
void ScreenCast::State::watch(int remote) {
  watched.reset(g_unix_fd_source_new(remote, G_IO_HUP));
  const GUnixFDSourceFunc gone = [](gint, GIOCondition, gpointer data) -> gboolean {
    if (const auto self = static_cast<Weak*>(data)->lock()) self->failed("PipeWire went away");
    return G_SOURCE_REMOVE;
  };
  g_source_set_callback(watched.get(), G_SOURCE_FUNC(gone), new Weak(weak_from_this()),
                        [](gpointer data) { delete static_cast<Weak*>(data); });
  g_source_attach(watched.get(), g_main_context_get_thread_default());
}

void ScreenCast::State::end() {
  watched.reset();
  deadline.reset();
  asking.reset();
  responded = nullptr;
  if (!bus) return;
  g_signal_handler_disconnect(bus.get(), closedHandler);
  for (const auto id : std::exchange(subscriptions, {})) {
    g_dbus_connection_signal_unsubscribe(bus.get(), id);
  }
  if (!requested.empty()) send(requested, kRequest, "Close");
  if (!session.empty()) send(session, kSession, "Close");
  // Closed behind what was sent; the engine waits for it before it goes.
  g_dbus_connection_flush(
      bus.get(), nullptr,
      [](GObject* flushed, GAsyncResult* result, gpointer data) {
        const std::unique_ptr<EngineThread::Busy> busy(static_cast<EngineThread::Busy*>(data));
        auto* ending = G_DBUS_CONNECTION(flushed);
        g_dbus_connection_flush_finish(ending, result, nullptr);
        g_dbus_connection_close(ending, nullptr, nullptr, nullptr);
      },
      new EngineThread::Busy(thread.busy()));
  bus.reset();
}

ScreenCast::ScreenCast(EngineThread& thread, Settings settings, Listener listener)
    : state_(std::make_shared<State>(thread, std::move(settings), std::move(listener))) {
  state_->asking = thread.busy();
  thread.post([weak = std::weak_ptr(state_)] {
    if (const auto state = weak.lock()) state->begin();
  });
}

ScreenCast::~ScreenCast() { state_->end(); }

}  // namespace vemo::janus
