#include "classroom/Desktop.h"

#include <glib-unix.h>
#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <filesystem>
#include <list>
#include <memory>
#include <optional>
#include <system_error>
#include <utility>

#include "classroom/CameraPortal.h"
#include "classroom/ClassroomWindow.h"
#include "classroom/Farewells.h"
#include "classroom/PageDownloads.h"
#include "classroom/PageGate.h"
#include "classroom/Permissions.h"
#include "classroom/ShareNotice.h"
#include "classroom/TestMedia.h"
#include "engine/Gst.h"
#include "platform/CurlDownloadService.h"
#include "platform/DBusNotificationCenter.h"
#include "platform/JsonLineLogger.h"
#include "platform/MainThreadQueue.h"
#include "platform/PixbufImageDecoder.h"
#include "platform/ProcessExtensionLauncher.h"
#include "platform/StaticFiles.h"
#include "platform/StreamSystemLog.h"
#include "simulator/SessionFiles.h"

namespace vemo {
namespace {

constexpr int kFailure = 2;
constexpr const char* kApplicationId = "vemo.Classroom";

/// The page that was built or installed with this program; wherever both were moved to.
std::filesystem::path ownPageFolder() {
  std::error_code unknown;
  const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
  return (program.parent_path() / VEMO_PAGE_FOLDER).lexically_normal();
}

std::string textOf(const std::filesystem::path& file) {
  char* text = nullptr;
  gsize size = 0;
  if (!g_file_get_contents(file.c_str(), &text, &size, nullptr)) return {};
  const std::unique_ptr<char, decltype(&g_free)> held(text, g_free);
  return {text, size};
}

void serve(WebKitURISchemeRequest* request, gpointer data) {
  const auto& gate = *static_cast<const PageGate*>(data);
  const auto file = gate.fileFor(webkit_uri_scheme_request_get_uri(request));
  GError* error = nullptr;
  GFileInputStream* stream = nullptr;
  if (file) {
    auto* path = g_file_new_for_path(file->c_str());
    stream = g_file_read(path, nullptr, &error);
    g_object_unref(path);
  } else {
    error = g_error_new_literal(G_IO_ERROR, G_IO_ERROR_NOT_FOUND, "there is no such file");
  }
  if (!stream) {
    webkit_uri_scheme_request_finish_error(request, error);
    g_error_free(error);
    return;
  }
  const auto type = contentType(*file);
  webkit_uri_scheme_request_finish(request, G_INPUT_STREAM(stream), -1,
                                   std::string(type.substr(0, type.find(';'))).c_str());
  g_object_unref(stream);
}

/// Null where there is none.
std::unique_ptr<GDBusConnection, void (*)(gpointer)> sessionBus() {
  return {g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr), g_object_unref};
}

/// Whether web processes can be put into a sandbox, which not every system or container allows;
/// asked for where it can't be had, it would leave windows without a page.
bool canSandbox() {
  const std::unique_ptr<char, decltype(&g_free)> proxy(g_find_program_in_path("xdg-dbus-proxy"),
                                                       g_free);
  int status = 0;
  return proxy &&
         g_spawn_command_line_sync("bwrap --ro-bind / / --unshare-all --proc /proc --dev /dev true",
                                   nullptr, nullptr, &status, nullptr) &&
         g_spawn_check_wait_status(status, nullptr);
}

/// The windows, and what they share.
class Desktop {
 public:
  Desktop(const ClassroomOptions& options, PageGate gate, std::unique_ptr<JsonLineLogger> logger,
          const SessionFiles& sessions)
      : options_(options),
        gate_(std::move(gate)),
        logger_(std::move(logger)),
        streamSession_(sessions.streamSession([this](std::string_view line) { note(line); })) {}
  ~Desktop() {
    windows_.clear();
    while (queue_.drain() > 0) {  // what the last pages left behind
    }
    if (context_) g_object_unref(context_);
  }
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  int run() {
    auto* application = gtk_application_new(kApplicationId, G_APPLICATION_NON_UNIQUE);
    using Activate = void (*)(GtkApplication*, gpointer);
    const Activate activate = [](GtkApplication* activated, gpointer self) {
      static_cast<Desktop*>(self)->begin(activated);
    };
    g_signal_connect(application, "activate", G_CALLBACK(activate), this);
    for (const int signal : {SIGTERM, SIGINT}) {
      g_unix_signal_add(
          signal,
          [](gpointer running) -> gboolean {
            g_application_quit(G_APPLICATION(running));
            return G_SOURCE_CONTINUE;
          },
          application);
    }
    const int status = g_application_run(G_APPLICATION(application), 0, nullptr);
    windows_.clear();
    g_object_unref(application);
    return status;
  }

 private:
  void begin(GtkApplication* application) {
    application_ = application;
    gtk_window_set_default_icon_name("vemo-classroom");
    addActions();
    context_ = webkit_web_context_new_ephemeral();
    webkit_web_context_set_sandbox_enabled(context_, canSandbox());
    webkit_web_context_register_uri_scheme(context_, std::string(PageGate::kScheme).c_str(), serve,
                                           &gate_, nullptr);
    auto* security = webkit_web_context_get_security_manager(context_);
    webkit_security_manager_register_uri_scheme_as_secure(security,
                                                          std::string(PageGate::kScheme).c_str());
    webkit_security_manager_register_uri_scheme_as_cors_enabled(
        security, std::string(PageGate::kScheme).c_str());
    if (options_.automation) {
      waitForDriver();
      return;
    }
    for (int i = 0; i < options_.windows; ++i) openWindow().load();
  }

  void waitForDriver() {
    g_application_hold(G_APPLICATION(application_));
    webkit_web_context_set_automation_allowed(context_, TRUE);
    using Create = WebKitWebView* (*)(WebKitAutomationSession*, gpointer);
    static const Create kCreate = [](WebKitAutomationSession*, gpointer self) {
      return static_cast<Desktop*>(self)->openWindow().view();
    };
    using Started = void (*)(WebKitWebContext*, WebKitAutomationSession*, gpointer);
    const Started started = [](WebKitWebContext*, WebKitAutomationSession* session, gpointer self) {
      g_signal_connect(session, "create-web-view", G_CALLBACK(kCreate), self);
    };
    g_signal_connect(context_, "automation-started", G_CALLBACK(started), this);
  }

  ClassroomWindow& openWindow() {
    const auto place = windows_.emplace(windows_.end());
    *place = std::make_unique<ClassroomWindow>(application_, environment(), [this, place] {
      // Not within the signal that tells of it.
      queue_.dispatchAsync([this, place] { windows_.erase(place); });
    });
    return **place;
  }

  WindowEnvironment environment() {
    return {.phones = {
                .mainQueue = queue_,
                .systemLog = systemLog_,
                .permissions = permissions_,
                .cameras = cameras_,
                .extensionNotifications = *extensionNotifications_,
                .extensionLauncher = launcher_,
                .makeLogger =
                    [this] { return logger_->forSession("page " + std::to_string(++pages_)); },
                .makeDownloads =
                    [this] {
                      return std::make_unique<PageDownloads>(gate_, files_,
                                                             downloads_.forRequester());
                    },
                .makeImages = [this] { return images_.forRequester(); },
                // One for all pages, each of which has a copy of this: it counts their files.
                .streamSession = [this](std::shared_ptr<NoteRing> ring) -> std::shared_ptr<void> {
                  return streamSession_ ? streamSession_(std::move(ring)) : nullptr;
                }},
            .gate = gate_,
            .start = gate_.start() + (options_.query.empty() ? "" : "?" + options_.query),
            .context = context_,
            .farewells = farewells_,
            .placesScript = textOf(ownPageFolder() / "places.js"),
            .inspect = options_.inspect,
            .automation = options_.automation,
            .makeEngineClass = [this] { return new JanusEngineClass(engineOptions()); }};
  }

  EngineOptions engineOptions() {
    EngineOptions options;
    options.version = VEMO_VERSION;
    options.servers = options_.servers;
    options.serversFile = options_.serversFile;
    options.relaysFile = options_.relaysFile;
    options.authorities = options_.authorities;
    options.musicFolder = ownPageFolder().parent_path();
    options.pixelsOf = [](const VEMOImage& image) -> std::shared_ptr<const RgbaPicture> {
      const auto* decoded = dynamic_cast<const DecodedImage*>(&image);
      if (!decoded) return nullptr;
      return std::make_shared<RgbaPicture>(
          RgbaPicture{decoded->width(), decoded->height(), decoded->rgba()});
    };
    options.onScreenShared = [this,
                              notice = std::make_shared<ShareNotice>(bus_.get())](bool shared) {
      queue_.dispatchAsync([notice, shared] { notice->setShared(shared); });
    };
    if (options_.testMedia) useTestMedia(options, opened_);
    ++opened_;
    return options;
  }

  /// Tells whoever reads the log.
  void note(std::string_view line) {
    DUNLogParam record;
    record.level = DUNLogParam::kFailure;
    record.module = "vemo-classroom";
    record.actionName = "note";
    record.actionParam = line;
    logger_->log(record);
  }

  ClassroomWindow* active() {
    auto* window = gtk_application_get_active_window(application_);
    const auto found = std::ranges::find_if(
        windows_, [&](const auto& open) { return open && open->window() == window; });
    return found == windows_.end() ? nullptr : found->get();
  }

  struct Action {
    const char* name;
    const char* key;
    void (*act)(Desktop& self);
  };
  static void withActive(Desktop& self, void (ClassroomWindow::*act)()) {
    if (auto* window = self.active()) (window->*act)();
  }

  void addActions() {
    static constexpr std::array<Action, 6> kActions{{
        {"new", "<Primary>n", [](Desktop& self) { self.openWindow().load(); }},
        {"reload", "<Primary>r", [](Desktop& self) { withActive(self, &ClassroomWindow::load); }},
        {"save", "<Primary>s",
         [](Desktop& self) { withActive(self, &ClassroomWindow::saveRecording); }},
        {"settings", "<Primary>comma",
         [](Desktop& self) { withActive(self, &ClassroomWindow::showSettings); }},
        {"close", "<Primary>w", [](Desktop& self) { withActive(self, &ClassroomWindow::close); }},
        {"quit", "<Primary>q",
         [](Desktop& self) { g_application_quit(G_APPLICATION(self.application_)); }},
    }};
    for (const auto& entry : kActions) {
      auto* action = g_simple_action_new(entry.name, nullptr);
      struct Bound {
        Desktop* self;
        const Action* action;
      };
      using Activated = void (*)(GSimpleAction*, GVariant*, gpointer);
      const Activated activated = [](GSimpleAction*, GVariant*, gpointer data) {
        const auto& bound = *static_cast<Bound*>(data);
        bound.action->act(*bound.self);
      };
      g_signal_connect_data(
          action, "activate", G_CALLBACK(activated), new Bound{this, &entry},
          [](gpointer data, GClosure*) { delete static_cast<Bound*>(data); }, G_CONNECT_AFTER);
      g_action_map_add_action(G_ACTION_MAP(application_), G_ACTION(action));
      g_object_unref(action);
      std::array<const char*, 2> keys{entry.key, nullptr};
      gtk_application_set_accels_for_action(
          application_, (std::string("app.") + entry.name).c_str(), keys.data());
    }
  }

  const ClassroomOptions& options_;
  PageGate gate_;
  const std::unique_ptr<JsonLineLogger> logger_;
  const StreamSession streamSession_;
  StreamSystemLog systemLog_;
  Permissions permissions_{
      (std::filesystem::path(g_get_user_config_dir()) / "vemo" / "classroom.ini").string()};
  EngineThread files_;
  CurlDownloadService downloads_;
  PixbufImageDecoder images_;
  const std::unique_ptr<CrossProcessNotificationCenter> extensionNotifications_ =
      makeCrossProcessCenter();
  const std::unique_ptr<GDBusConnection, void (*)(gpointer)> bus_ = sessionBus();
  ProcessExtensionLauncher launcher_{systemLog_, {"vemo-broadcast", "started"}};
  MainThreadQueue queue_{[this] {
    g_idle_add_full(
        G_PRIORITY_DEFAULT,
        [](gpointer queue) -> gboolean {
          static_cast<MainThreadQueue*>(queue)->drain();
          return G_SOURCE_REMOVE;
        },
        &queue_, nullptr);
  }};
  CameraPortal cameras_{{}};  // goes before the queue that it tells
  Farewells farewells_;
  GtkApplication* application_ = nullptr;
  WebKitWebContext* context_ = nullptr;
  std::size_t opened_ = 0;
  std::size_t pages_ = 0;
  std::list<std::unique_ptr<ClassroomWindow>> windows_;
};

}  // namespace

int runClassroom(const ClassroomOptions& options, std::string& error) {
  error = problemWithFiles(options);
  if (!error.empty()) return kFailure;
  auto gate = options.pageUrl.empty()
                  ? PageGate::forFolder(options.pageFolder.empty()
                                            ? ownPageFolder()
                                            : std::filesystem::path(options.pageFolder),
                                        error)
                  : PageGate::forUrl(options.pageUrl, error);
  if (!gate) return kFailure;
  JsonLineLoggerOptions logging;
  logging.file = options.logFile;
  auto logger = JsonLineLogger::create(logging, &error);
  if (!logger) {
    error = "Can't write the log: " + error;
    return kFailure;
  }
  std::optional<SessionFiles> sessions;
  try {
    sessions.emplace(options.recordFolder);
  } catch (const std::system_error& problem) {
    error = "Can't record in " + options.recordFolder + ": " + problem.code().message();
    return kFailure;
  }
  if (!gtk_init_check(nullptr, nullptr)) {
    error = "There is no display to open windows on.";
    return kFailure;
  }
  janus::keepOpenSslAtExit();  // before a download uses it
  Desktop desktop(options, std::move(*gate), std::move(logger), *sessions);
  return desktop.run();
}

}  // namespace vemo
