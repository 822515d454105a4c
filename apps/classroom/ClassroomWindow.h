#pragma once

#include <gtk/gtk.h>
#include <webkit2/webkit2.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "classroom/DesktopPhone.h"
#include "classroom/Farewells.h"
#include "classroom/PageGate.h"
#include "engine/JanusEngine.h"

namespace vemo {

/// What windows share, and outlives them.
struct WindowEnvironment {
  DesktopEnvironment phones;
  const PageGate& gate;
  std::string start;  ///< the address of the page
  WebKitWebContext* context = nullptr;
  Farewells& farewells;
  /// What is put into each page to tell where its native views lie.
  std::string placesScript;
  bool inspect = false;
  bool automation = false;
  /// Makes the engine of one window.
  std::function<JanusEngineClass*()> makeEngineClass;
};

/// One window with one page at a time. A page has a router of its own; the next one gets its only
/// when the former is gone and has left its room. Main thread.
class ClassroomWindow {
 public:
  /// `closed` is called when the window is gone; it may destroy this.
  ClassroomWindow(GtkApplication* application, const WindowEnvironment& environment,
                  std::function<void()> closed);
  ~ClassroomWindow();
  ClassroomWindow(const ClassroomWindow&) = delete;
  ClassroomWindow& operator=(const ClassroomWindow&) = delete;

  /// Opens the page, or opens it anew. A driver opens it by itself.
  void load();
  void close();
  void showSettings();
  void saveRecording();
  WebKitWebView* view() const { return view_; }
  GtkWindow* window() const { return window_; }

 private:
  void pageBegins();
  void pageEnds();
  void makePhoneWhenGone(std::weak_ptr<const void> former);
  void makePhone();
  void received(const std::string& text);
  bool decide(WebKitPolicyDecision* decision, WebKitPolicyDecisionType type);
  void say(const std::string& sentence);

  const WindowEnvironment environment_;
  const std::function<void()> closed_;
  const std::shared_ptr<JanusEngineClass> engineClass_;
  GtkWindow* window_ = nullptr;
  WebKitWebView* view_ = nullptr;
  GtkOverlay* overlay_ = nullptr;
  GtkInfoBar* bar_ = nullptr;
  GtkLabel* sentence_ = nullptr;
  std::unique_ptr<DesktopPhone> phone_;
  std::vector<std::string> early_;  // messages of a page whose phone is not there yet
  std::string places_;
  /// What is queued for a window that is gone is not done.
  const std::shared_ptr<ClassroomWindow*> self_ = std::make_shared<ClassroomWindow*>(this);
  std::size_t pages_ = 0;  // counts
};

}  // namespace vemo
