#include "classroom/ClassroomWindow.h"

#include <array>
#include <chrono>
#include <ctime>
#include <filesystem>
#include <utility>

#include "classroom/DesktopServices.h"

namespace vemo {
namespace {

constexpr int kWidth = 1100;
constexpr int kHeight = 760;
constexpr std::size_t kMostEarly = 256;
constexpr std::chrono::milliseconds kLongestGoodbye{3'000};
constexpr const char* kMessages = "vemo";         // as pages know it
constexpr const char* kPlaces = "vemoPlaces";     // as the places script knows it
constexpr const char* kOwnWorld = "vemo-places";  // which pages can't reach

std::string textOf(WebKitJavascriptResult* result) {
  auto* value = webkit_javascript_result_get_js_value(result);
  if (!jsc_value_is_string(value)) return {};
  const std::unique_ptr<char, decltype(&g_free)> text(jsc_value_to_string(value), g_free);
  return text.get();
}

GtkWidget* makeHeader() {
  auto* header = gtk_header_bar_new();
  gtk_header_bar_set_show_close_button(GTK_HEADER_BAR(header), TRUE);
  gtk_header_bar_set_title(GTK_HEADER_BAR(header), "Classroom");
  auto* menu = g_menu_new();
  g_menu_append(menu, "New window", "app.new");
  g_menu_append(menu, "Load the page anew", "app.reload");
  g_menu_append(menu, "Save the last minutes", "app.save");
  g_menu_append(menu, "Settings", "app.settings");
  auto* button = gtk_menu_button_new();
  gtk_button_set_image(GTK_BUTTON(button),
                       gtk_image_new_from_icon_name("open-menu-symbolic", GTK_ICON_SIZE_BUTTON));
  gtk_widget_set_tooltip_text(button, "Menu");
  gtk_menu_button_set_menu_model(GTK_MENU_BUTTON(button), G_MENU_MODEL(menu));
  g_object_unref(menu);
  gtk_header_bar_pack_end(GTK_HEADER_BAR(header), button);
  gtk_widget_show_all(header);
  return header;
}

/// What a page can be asked for, and what it can't have.
WebKitSettings* settingsFor(bool inspect) {
  return webkit_settings_new_with_settings(
      "enable-developer-extras", inspect, "hardware-acceleration-policy",
      WEBKIT_HARDWARE_ACCELERATION_POLICY_NEVER, "javascript-can-open-windows-automatically", FALSE,
      "enable-media-stream", FALSE, "enable-webrtc", FALSE, "allow-file-access-from-file-urls",
      FALSE, nullptr);
}

}  // namespace

ClassroomWindow::ClassroomWindow(GtkApplication* application, const WindowEnvironment& environment,
                                 std::function<void()> closed)
    : environment_(environment),
      closed_(std::move(closed)),
      engineClass_(environment.makeEngineClass(), [&farewells = environment.farewells](auto* made) {
        farewells.run([made] { delete made; });  // it waits for its goodbyes
      }) {
  auto* scripts = webkit_user_content_manager_new();
  using Message = void (*)(WebKitUserContentManager*, WebKitJavascriptResult*, gpointer);
  const Message message = [](WebKitUserContentManager*, WebKitJavascriptResult* result,
                             gpointer self) {
    static_cast<ClassroomWindow*>(self)->received(textOf(result));
  };
  const Message moved = [](WebKitUserContentManager*, WebKitJavascriptResult* result,
                           gpointer data) {
    auto& self = *static_cast<ClassroomWindow*>(data);
    self.places_ = textOf(result);
    if (self.phone_)
      self.phone_->setPlaces(self.places_, webkit_web_view_get_zoom_level(self.view_));
  };
  g_signal_connect(scripts, "script-message-received::vemo", G_CALLBACK(message), this);
  g_signal_connect(scripts, "script-message-received::vemoPlaces", G_CALLBACK(moved), this);
  webkit_user_content_manager_register_script_message_handler(scripts, kMessages);
  webkit_user_content_manager_register_script_message_handler_in_world(scripts, kPlaces, kOwnWorld);
  auto* script = webkit_user_script_new_for_world(
      environment_.placesScript.c_str(), WEBKIT_USER_CONTENT_INJECT_TOP_FRAME,
      WEBKIT_USER_SCRIPT_INJECT_AT_DOCUMENT_END, kOwnWorld, nullptr, nullptr);
  webkit_user_content_manager_add_script(scripts, script);
  webkit_user_script_unref(script);

  auto* settings = settingsFor(environment_.inspect);
  view_ = WEBKIT_WEB_VIEW(g_object_new(
      WEBKIT_TYPE_WEB_VIEW, "web-context", environment_.context, "user-content-manager", scripts,
      "settings", settings, "default-content-security-policy",
      environment_.gate.contentSecurityPolicy().c_str(), "is-controlled-by-automation",
      environment_.automation, nullptr));
  g_object_unref(settings);
  g_object_unref(scripts);

  using Changed = void (*)(WebKitWebView*, WebKitLoadEvent, gpointer);
  const Changed changed = [](WebKitWebView*, WebKitLoadEvent event, gpointer self) {
    if (event == WEBKIT_LOAD_COMMITTED) static_cast<ClassroomWindow*>(self)->pageBegins();
  };
  g_signal_connect(view_, "load-changed", G_CALLBACK(changed), this);
  using Failed = gboolean (*)(WebKitWebView*, WebKitLoadEvent, char*, GError*, gpointer);
  const Failed failed = [](WebKitWebView*, WebKitLoadEvent, char* uri, GError* error,
                           gpointer self) -> gboolean {
    // What was refused here, or given up for another page, is no failure.
    if (g_error_matches(error, WEBKIT_NETWORK_ERROR, WEBKIT_NETWORK_ERROR_CANCELLED) ||
        error->domain == WEBKIT_POLICY_ERROR) {
      return TRUE;
    }
    static_cast<ClassroomWindow*>(self)->say(std::string("The page ") + uri +
                                             " can't be shown: " + error->message + '.');
    return TRUE;
  };
  g_signal_connect(view_, "load-failed", G_CALLBACK(failed), this);
  using Ended = void (*)(WebKitWebView*, WebKitWebProcessTerminationReason, gpointer);
  const Ended ended = [](WebKitWebView*, WebKitWebProcessTerminationReason, gpointer data) {
    auto& self = *static_cast<ClassroomWindow*>(data);
    self.pageEnds();
    self.say("The page has stopped unexpectedly.");
  };
  g_signal_connect(view_, "web-process-terminated", G_CALLBACK(ended), this);
  using Decide =
      gboolean (*)(WebKitWebView*, WebKitPolicyDecision*, WebKitPolicyDecisionType, gpointer);
  const Decide decides = [](WebKitWebView*, WebKitPolicyDecision* decision,
                            WebKitPolicyDecisionType type, gpointer self) -> gboolean {
    return static_cast<ClassroomWindow*>(self)->decide(decision, type) ? TRUE : FALSE;
  };
  g_signal_connect(view_, "decide-policy", G_CALLBACK(decides), this);
  using Ask = gboolean (*)(WebKitWebView*, WebKitPermissionRequest*, gpointer);
  const Ask refuse = [](WebKitWebView*, WebKitPermissionRequest* request, gpointer) -> gboolean {
    webkit_permission_request_deny(request);  // devices are the engine's business
    return TRUE;
  };
  g_signal_connect(view_, "permission-request", G_CALLBACK(refuse), nullptr);
  using Menu =
      gboolean (*)(WebKitWebView*, WebKitContextMenu*, GdkEvent*, WebKitHitTestResult*, gpointer);
  const Menu noMenu = [](WebKitWebView*, WebKitContextMenu*, GdkEvent*, WebKitHitTestResult*,
                         gpointer self) -> gboolean {
    return static_cast<ClassroomWindow*>(self)->environment_.inspect ? FALSE : TRUE;
  };
  g_signal_connect(view_, "context-menu", G_CALLBACK(noMenu), this);

  overlay_ = GTK_OVERLAY(gtk_overlay_new());
  gtk_container_add(GTK_CONTAINER(overlay_), GTK_WIDGET(view_));
  gtk_widget_set_vexpand(GTK_WIDGET(overlay_), TRUE);
  sentence_ = GTK_LABEL(gtk_label_new(nullptr));
  gtk_label_set_line_wrap(sentence_, TRUE);
  bar_ = GTK_INFO_BAR(gtk_info_bar_new_with_buttons("Try again", GTK_RESPONSE_OK, nullptr));
  gtk_info_bar_set_message_type(bar_, GTK_MESSAGE_ERROR);
  gtk_container_add(GTK_CONTAINER(gtk_info_bar_get_content_area(bar_)), GTK_WIDGET(sentence_));
  using Again = void (*)(GtkInfoBar*, gint, gpointer);
  const Again again = [](GtkInfoBar*, gint, gpointer self) {
    static_cast<ClassroomWindow*>(self)->load();
  };
  g_signal_connect(bar_, "response", G_CALLBACK(again), this);
  auto* column = gtk_box_new(GTK_ORIENTATION_VERTICAL, 0);
  gtk_container_add(GTK_CONTAINER(column), GTK_WIDGET(bar_));
  gtk_container_add(GTK_CONTAINER(column), GTK_WIDGET(overlay_));

  window_ = GTK_WINDOW(gtk_application_window_new(application));
  gtk_window_set_title(window_, "Classroom");
  gtk_window_set_default_size(window_, kWidth, kHeight);
  gtk_window_set_titlebar(window_, makeHeader());
  gtk_container_add(GTK_CONTAINER(window_), column);
  using Gone = void (*)(GtkWidget*, gpointer);
  const Gone gone = [](GtkWidget*, gpointer data) {
    auto& self = *static_cast<ClassroomWindow*>(data);
    self.pageEnds();
    self.window_ = nullptr;
    const auto tell = self.closed_;
    tell();
  };
  g_signal_connect(window_, "destroy", G_CALLBACK(gone), this);
  gtk_widget_show_all(column);
  gtk_widget_hide(GTK_WIDGET(bar_));
  gtk_widget_show(GTK_WIDGET(window_));
  gtk_widget_grab_focus(GTK_WIDGET(view_));
}

ClassroomWindow::~ClassroomWindow() {
  pageEnds();
  *self_ = nullptr;
  if (!window_) return;
  g_signal_handlers_disconnect_by_data(window_, this);
  gtk_widget_destroy(GTK_WIDGET(window_));
}

void ClassroomWindow::load() {
  gtk_widget_hide(GTK_WIDGET(bar_));
  webkit_web_view_load_uri(view_, environment_.start.c_str());
}

void ClassroomWindow::close() {
  if (window_) gtk_window_close(window_);
}

void ClassroomWindow::showSettings() {
  vemo::showSettings(window_, environment_.phones.permissions, environment_.gate.origin());
}

void ClassroomWindow::saveRecording() {
  if (!phone_) return;
  const char* folder = g_get_user_special_dir(G_USER_DIRECTORY_DOCUMENTS);
  std::array<char, 64> name{};
  const auto now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  std::strftime(name.data(), name.size(), "classroom-%Y-%m-%d-%H%M%S.vemorec", &parts);
  const auto file = std::filesystem::path(folder ? folder : g_get_home_dir()) / name.data();
  const auto why = phone_->saveRecording(file.string());
  auto* dialog = gtk_message_dialog_new(
      window_, static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT),
      why.empty() ? GTK_MESSAGE_INFO : GTK_MESSAGE_ERROR, GTK_BUTTONS_CLOSE, "%s",
      (why.empty() ? "The last minutes are in " + file.string()
                   : "The last minutes can't be saved: " + why)
          .c_str());
  g_signal_connect(dialog, "response", G_CALLBACK(gtk_widget_destroy), nullptr);
  gtk_widget_show(dialog);
}

void ClassroomWindow::pageEnds() {
  ++pages_;
  phone_.reset();
  early_.clear();
  places_.clear();
}

void ClassroomWindow::pageBegins() {
  const auto former = phone_ ? phone_->life() : std::weak_ptr<const void>();
  pageEnds();
  makePhoneWhenGone(former);
}

void ClassroomWindow::makePhoneWhenGone(std::weak_ptr<const void> former) {
  // Behind whatever keeps the former router; then its engine says goodbye, on another thread.
  auto& queue = environment_.phones.mainQueue;
  const auto next = [self = self_, page = pages_](auto step) {
    return [self, page, step] {
      if (*self && (*self)->pages_ == page) step(**self);
    };
  };
  queue.dispatchAsync(next([former, next, &queue](ClassroomWindow& window) {
    if (!former.expired()) return window.makePhoneWhenGone(former);
    window.environment_.farewells.run(
        [engine = window.engineClass_, &queue,
         made = next([](ClassroomWindow& again) { again.makePhone(); })]() mutable {
          engine->settle(kLongestGoodbye);
          engine.reset();
          queue.dispatchAsync(std::move(made));
        });
  }));
}

void ClassroomWindow::makePhone() {
  phone_ = std::make_unique<DesktopPhone>(
      environment_.phones, engineClass_,
      DesktopPhone::Place{window_, view_, overlay_, environment_.gate.origin()});
  if (!places_.empty()) phone_->setPlaces(places_, webkit_web_view_get_zoom_level(view_));
  for (const auto& text : std::exchange(early_, {})) phone_->receive(text);
}

void ClassroomWindow::received(const std::string& text) {
  const char* uri = webkit_web_view_get_uri(view_);
  if (!uri || !environment_.gate.allows(uri)) return;
  if (phone_) {
    phone_->receive(text);
  } else if (early_.size() < kMostEarly) {
    early_.push_back(text);
  }
}

bool ClassroomWindow::decide(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type) {
  if (type == WEBKIT_POLICY_DECISION_TYPE_RESPONSE) return false;
  auto* action = webkit_navigation_policy_decision_get_navigation_action(
      WEBKIT_NAVIGATION_POLICY_DECISION(decision));
  const std::string uri = webkit_uri_request_get_uri(webkit_navigation_action_get_request(action));
  // The empty page is what a driver begins with; it is of no origin and has no classroom.
  const bool isBlank = environment_.automation && uri == "about:blank";
  if (type == WEBKIT_POLICY_DECISION_TYPE_NAVIGATION_ACTION &&
      (isBlank || environment_.gate.allows(uri))) {
    return false;
  }
  webkit_policy_decision_ignore(decision);
  return true;
}

void ClassroomWindow::say(const std::string& sentence) {
  gtk_label_set_text(sentence_, sentence.c_str());
  gtk_widget_show(GTK_WIDGET(bar_));
}

}  // namespace vemo
