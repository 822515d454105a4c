#pragma once

#include <webkit2/webkit2.h>

#include <memory>
#include <string>

#include "bridge/MainQueue.h"
#include "bridge/VEMOWebView.h"

namespace vemo {

/// One page in a web view: what is late for it never reaches the next one.
class DesktopWebView final : public VEMOWebView,
                             public std::enable_shared_from_this<DesktopWebView> {
 public:
  /// `view` lives until end().
  DesktopWebView(MainQueue& mainQueue, WebKitWebView* view) : mainQueue_(mainQueue), view_(view) {}

  /// WebKit keeps no log of scripts; the router's own records hold what they tell.
  void loadJs(const std::string& script, bool needLog) override;
  /// The page is gone. Main thread.
  void end() { view_ = nullptr; }

 private:
  MainQueue& mainQueue_;
  WebKitWebView* view_;  // main thread
};

}  // namespace vemo
