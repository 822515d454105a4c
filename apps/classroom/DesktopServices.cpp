#include "classroom/DesktopServices.h"

#include <set>
#include <utility>

namespace vemo {
namespace {

constexpr const char* kName = "Classroom";
constexpr std::size_t kMostShown = 16;
constexpr std::size_t kMostWaiting = 64;

const char* wordFor(MediaType media) { return media == MediaType::video ? "camera" : "microphone"; }

}  // namespace

struct DesktopServices::Shown {
  GtkWindow* window = nullptr;
  std::set<GtkWidget*> dialogs;
  std::map<MediaType, std::vector<std::function<void(bool)>>> waiting;
  CameraPortal::Question camera;

  void answer(MediaType media, bool allowed) {
    for (const auto& tell : std::exchange(waiting[media], {})) tell(allowed);
  }

  /// A dialog with a title and a text; `answered` is told the number of the button that was
  /// pressed, which is negative for none.
  static GtkWidget* ask(const std::shared_ptr<Shown>& self, const std::string& title,
                        const std::string& text, std::function<void(int)> answered) {
    auto* dialog = gtk_message_dialog_new(
        self->window,
        static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT),
        GTK_MESSAGE_OTHER, GTK_BUTTONS_NONE, "%s", title.c_str());
    gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "%s", text.c_str());
    self->dialogs.insert(dialog);
    struct Open {
      std::weak_ptr<Shown> shown;
      std::function<void(int)> answered;
    };
    using Response = void (*)(GtkDialog*, gint, gpointer);
    const Response response = [](GtkDialog* from, gint id, gpointer data) {
      const auto call = static_cast<Open*>(data)->answered;
      if (const auto shown = static_cast<Open*>(data)->shown.lock()) {
        shown->dialogs.erase(GTK_WIDGET(from));
      }
      gtk_widget_destroy(GTK_WIDGET(from));
      call(id);
    };
    g_signal_connect_data(
        dialog, "response", G_CALLBACK(response), new Open{self, std::move(answered)},
        [](gpointer data, GClosure*) { delete static_cast<Open*>(data); }, G_CONNECT_AFTER);
    return dialog;
  }
};

DesktopServices::DesktopServices(MainQueue& mainQueue, Permissions& permissions,
                                 const CameraPortal& cameras, std::string origin, GtkWindow* window)
    : mainQueue_(mainQueue),
      permissions_(permissions),
      cameras_(cameras),
      origin_(std::move(origin)),
      shown_(std::make_shared<Shown>()) {
  shown_->window = window;
}

AuthorizationStatus DesktopServices::authorizationStatus(MediaType media) const {
  return permissions_.of(origin_, media);
}

void DesktopServices::requestAccess(MediaType media, std::function<void(bool)> answer) {
  mainQueue_.dispatchAsync([this, weak = std::weak_ptr(shown_), media, answer = std::move(answer)] {
    const auto shown = weak.lock();
    if (!shown || !shown->window) return;
    const auto decided = permissions_.of(origin_, media);
    if (decided != AuthorizationStatus::notDetermined) {
      return answer(decided == AuthorizationStatus::authorized);
    }
    auto& waiting = shown->waiting[media];
    if (waiting.size() >= kMostWaiting) return answer(false);
    waiting.push_back(answer);
    if (waiting.size() > 1) return;
    if (media == MediaType::video) {
      askPortal();
    } else {
      prompt(media);
    }
  });
}

void DesktopServices::askPortal() {
  shown_->camera = cameras_.ask(
      [this, &queue = mainQueue_, weak = std::weak_ptr(shown_)](CameraPortal::Answer answer) {
        queue.dispatchAsync([this, weak, answer] {
          const auto shown = weak.lock();
          if (!shown || !shown->window) return;
          shown->camera.reset();
          if (answer == CameraPortal::Answer::none) return prompt(MediaType::video);
          const bool allowed = answer == CameraPortal::Answer::allowed;
          permissions_.decideForNow(origin_, MediaType::video, allowed);
          shown->answer(MediaType::video, allowed);
        });
      });
}

void DesktopServices::prompt(MediaType media) {
  const std::string word = wordFor(media);
  auto* dialog =
      Shown::ask(shown_, "May the page use the " + word + "?",
                 "The page of " + origin_ + " wants to use the " + word +
                     " of this computer. The answer is kept; the settings can change it.",
                 [this, weak = std::weak_ptr(shown_), media](int pressed) {
                   const auto shown = weak.lock();
                   if (!shown) return;
                   const bool allowed = pressed == GTK_RESPONSE_YES;
                   permissions_.decide(origin_, media, allowed);
                   shown->answer(media, allowed);
                 });
  gtk_dialog_add_buttons(GTK_DIALOG(dialog), "Don't allow", GTK_RESPONSE_NO, "Allow",
                         GTK_RESPONSE_YES, nullptr);
  gtk_widget_show(dialog);
}

void DesktopServices::present(Alert alert) {
  mainQueue_.dispatchAsync([weak = std::weak_ptr(shown_), alert = std::move(alert)] {
    if (const auto shown = weak.lock(); shown && shown->window) showAlert(shown, alert);
  });
}

void DesktopServices::showAlert(const std::shared_ptr<Shown>& shown, Alert alert) {
  const auto press = [actions = alert.actions](int pressed) {
    if (actions.empty()) return;
    // One that is closed otherwise is answered by its first button that destroys nothing.
    std::size_t which = 0;
    if (pressed >= 0 && static_cast<std::size_t>(pressed) < actions.size()) {
      which = static_cast<std::size_t>(pressed);
    } else {
      while (which + 1 < actions.size() && actions[which].style != AlertActionStyle::normal)
        ++which;
    }
    if (actions[which].handler) actions[which].handler();
  };
  if (shown->dialogs.size() >= kMostShown) return press(-1);
  auto* dialog = Shown::ask(shown, alert.title, alert.message, press);
  for (std::size_t i = 0; i < alert.actions.size(); ++i) {
    auto* button = gtk_dialog_add_button(GTK_DIALOG(dialog), alert.actions[i].title.c_str(),
                                         static_cast<gint>(i));
    if (alert.actions[i].style == AlertActionStyle::destructive) {
      gtk_style_context_add_class(gtk_widget_get_style_context(button), "destructive-action");
    }
  }
  gtk_widget_show(dialog);
}

Text DesktopServices::information(std::string_view key) const {
  return key == "CFBundleName" ? Text(kName) : Text();
}

bool DesktopServices::isAtLeast(int major, int minor, int patch) const {
  constexpr int kMajor = 17;
  return major < kMajor || (major == kMajor && minor <= 0 && patch <= 0);
}

void DesktopServices::openSettings() {
  mainQueue_.dispatchAsync([this, weak = std::weak_ptr(shown_)] {
    const auto shown = weak.lock();
    if (shown && shown->window) showSettings(shown->window, permissions_, origin_);
  });
}

void DesktopServices::end() {
  shown_->window = nullptr;
  shown_->waiting.clear();
  shown_->camera.reset();
  for (auto* dialog : std::exchange(shown_->dialogs, {})) gtk_widget_destroy(dialog);
}

void showSettings(GtkWindow* parent, Permissions& permissions, const std::string& origin) {
  auto* dialog = gtk_dialog_new_with_buttons(
      "Settings", parent,
      static_cast<GtkDialogFlags>(GTK_DIALOG_MODAL | GTK_DIALOG_DESTROY_WITH_PARENT), "Close",
      GTK_RESPONSE_CLOSE, nullptr);
  auto* grid = gtk_grid_new();
  gtk_grid_set_row_spacing(GTK_GRID(grid), 12);
  gtk_grid_set_column_spacing(GTK_GRID(grid), 24);
  gtk_container_set_border_width(GTK_CONTAINER(grid), 18);
  auto* title = gtk_label_new(("The page of " + origin + " may use").c_str());
  gtk_widget_set_halign(title, GTK_ALIGN_START);
  gtk_grid_attach(GTK_GRID(grid), title, 0, 0, 2, 1);
  struct Row {
    Permissions* permissions;
    std::string origin;
    MediaType media;
  };
  int line = 1;
  for (const auto media : {MediaType::video, MediaType::audio}) {
    auto* label = gtk_label_new(media == MediaType::video ? "the camera" : "the microphone");
    gtk_widget_set_halign(label, GTK_ALIGN_START);
    gtk_widget_set_hexpand(label, TRUE);
    auto* toggle = gtk_switch_new();
    gtk_switch_set_active(GTK_SWITCH(toggle),
                          permissions.of(origin, media) == AuthorizationStatus::authorized);
    using Set = gboolean (*)(GtkSwitch*, gboolean, gpointer);
    const Set set = [](GtkSwitch*, gboolean on, gpointer data) -> gboolean {
      const auto& row = *static_cast<Row*>(data);
      row.permissions->decide(row.origin, row.media, on != FALSE);
      return FALSE;
    };
    g_signal_connect_data(
        toggle, "state-set", G_CALLBACK(set), new Row{&permissions, origin, media},
        [](gpointer data, GClosure*) { delete static_cast<Row*>(data); }, G_CONNECT_AFTER);
    gtk_grid_attach(GTK_GRID(grid), label, 0, line, 1, 1);
    gtk_grid_attach(GTK_GRID(grid), toggle, 1, line, 1, 1);
    ++line;
  }
  gtk_container_add(GTK_CONTAINER(gtk_dialog_get_content_area(GTK_DIALOG(dialog))), grid);
  g_signal_connect(dialog, "response", G_CALLBACK(gtk_widget_destroy), nullptr);
  gtk_widget_show_all(dialog);
}

}  // namespace vemo
