#include "engine/ScreenCast.h"

#include <glib-unix.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <utility>

#include "engine/Portal.h"

namespace vemo::janus {
namespace {

constexpr std::uint32_t kMonitor = 1;
constexpr std::uint32_t kWindow = 2;
constexpr std::uint32_t kPointerInPicture = 2;

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

  State(EngineThread& on, Settings given, Listener tell)
      : thread(on), settings(std::move(given)), listener(std::move(tell)) {}

  void begin();
  void createSession(GVariant* properties);
  void selectSources();
  void start();
  void openRemote(GVariant* results);
  void capture(GVariant* answer, GUnixFDList* descriptors, std::uint32_t node);
  void watch(int remote);
  void closed(const std::string& which);
  void failed(const std::string& why) {
    const auto self = shared_from_this();
    end();
    listener.onFailed(why);
  }
  void end();

  EngineThread& thread;
  const Settings settings;
  const Listener listener;
  std::shared_ptr<Portal> portal;           // tells nothing once this has ended
  std::uint32_t sources = 0, pointers = 0;  // that the portal can share, and show
  std::string session;
  bool isReady = false;
  std::unique_ptr<GSource, SourceEnd> watched;
  EngineThread::Busy asking;
};

void ScreenCast::State::begin() {
  portal = std::make_shared<Portal>(
      thread, Portal::Settings{settings.bus, settings.answerTimeout},
      Portal::Names{"org.freedesktop.portal.ScreenCast", "screencast portal"},
      Portal::Listener{[this](GVariant* properties) { createSession(properties); },
                       [this](const std::string& why, bool) { failed(why); },
                       [this](const std::string& which) { closed(which); }});
  portal->begin();
}

void ScreenCast::State::createSession(GVariant* properties) {
  sources = numberIn(properties, "AvailableSourceTypes");
  pointers = numberIn(properties, "AvailableCursorModes");
  portal->request("CreateSession", {}, {{"session_handle_token", g_variant_new_string("vemo")}},
                  [this](GVariant* results) {
                    session = textIn(results, "session_handle");
                    if (!g_variant_is_object_path(session.c_str())) {
                      session.clear();
                      return failed("the screencast portal names no session");
                    }
                    selectSources();
                  });
}

void ScreenCast::State::selectSources() {
  Portal::Options options;
  // What is not named is the portal's choice: to ask for what it has not is an error.
  const auto wanted = sources & (kMonitor | kWindow);
  if (wanted != 0) options.emplace_back("types", g_variant_new_uint32(wanted));
  if ((pointers & kPointerInPicture) != 0) {
    options.emplace_back("cursor_mode", g_variant_new_uint32(kPointerInPicture));
  }
  portal->request("SelectSources", {g_variant_new_object_path(session.c_str())}, std::move(options),
                  [this](GVariant*) { start(); });
}

void ScreenCast::State::start() {
  constexpr const char* kNoWindow = "";
  portal->requestOfUser(
      "Start", {g_variant_new_object_path(session.c_str()), g_variant_new_string(kNoWindow)}, {},
      settings.choiceTimeout, "the user did not choose what to share",
      [this](GVariant* results) { openRemote(results); });
}

void ScreenCast::State::openRemote(GVariant* results) {
  const Variant streams(g_variant_lookup_value(results, "streams", G_VARIANT_TYPE("a(ua{sv})")));
  if (!streams || g_variant_n_children(streams.get()) == 0) {
    return failed("the screencast portal shares nothing");
  }
  guint32 node = 0;
  g_variant_get_child(streams.get(), 0, "(u@a{sv})", &node, nullptr);
  portal->call("OpenPipeWireRemote", g_variant_new("(oa{sv})", session.c_str(), nullptr),
               [this, node](GVariant* answer, GUnixFDList* descriptors) {
                 capture(answer, descriptors, node);
               });
}

void ScreenCast::State::capture(GVariant* answer, GUnixFDList* descriptors, std::uint32_t node) {
  gint32 index = -1;
  if (g_variant_is_of_type(answer, G_VARIANT_TYPE("(h)"))) g_variant_get(answer, "(h)", &index);
  const int number = descriptors && index >= 0 && index < g_unix_fd_list_get_length(descriptors)
                         ? g_unix_fd_list_get(descriptors, index, nullptr)
                         : -1;
  if (number < 0) return failed("the screencast portal opens no way to its pictures");
  const auto remote = std::make_shared<Descriptor>(number);
  isReady = true;
  asking.reset();
  watch(number);
  // A picture that does not change is sent again and again, for those who come later.
  listener.onReady({.devices = {"pipewiresrc do-timestamp=true keepalive-time=500 fd=" +
                                std::to_string(number) + " path=" + std::to_string(node)},
                    .substitute = "",
                    .wake = [remote] { ::shutdown(remote->number(), SHUT_RDWR); }});
}

/// A source whose PipeWire is gone gives no pictures, and takes long to say so.
void ScreenCast::State::watch(int remote) {
  using Weak = std::weak_ptr<State>;
  watched.reset(g_unix_fd_source_new(remote, G_IO_HUP));
  const GUnixFDSourceFunc gone = [](gint, GIOCondition, gpointer data) -> gboolean {
    if (const auto self = static_cast<Weak*>(data)->lock()) self->failed("PipeWire went away");
    return G_SOURCE_REMOVE;
  };
  g_source_set_callback(watched.get(), G_SOURCE_FUNC(gone), new Weak(weak_from_this()),
                        [](gpointer data) { delete static_cast<Weak*>(data); });
  g_source_attach(watched.get(), g_main_context_get_thread_default());
}

void ScreenCast::State::closed(const std::string& which) {
  if (which != session) return;
  session.clear();
  if (!isReady) return failed("the screencast portal ended the session");
  const auto self = shared_from_this();
  end();
  listener.onClosed();
}

void ScreenCast::State::end() {
  watched.reset();
  asking.reset();
  const auto ending = std::exchange(portal, nullptr);
  if (!ending) return;
  ending->withdraw();
  if (!session.empty()) ending->closeSession(session);
  ending->end();
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
