#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "bridge/MainQueue.h"
#include "bridge/VEMOWebView.h"

/// The view of a phone, which may be touched on the main thread alone. Scripts come on any thread
/// and queue up there; those for a view that is gone by then are dropped.
class PhoneWebView final : public vemo::VEMOWebView {
 public:
  using Evaluate = std::function<void(const std::string& script)>;

  PhoneWebView(vemo::MainQueue& mainQueue, Evaluate evaluate)
      : mainQueue_(mainQueue), evaluate_(std::make_shared<Evaluate>(std::move(evaluate))) {}

  void loadJs(const std::string& script, bool) override {
    mainQueue_.dispatchAsync([script, page = page()] {
      if (const auto evaluate = page.lock()) (*evaluate)(script);
    });
  }

  /// The view goes: on the main thread, where its scripts run.
  void endPage() {
    const std::lock_guard lock(mutex_);
    evaluate_.reset();
  }

 private:
  std::weak_ptr<Evaluate> page() {
    const std::lock_guard lock(mutex_);
    return evaluate_;
  }

  vemo::MainQueue& mainQueue_;
  std::mutex mutex_;
  std::shared_ptr<Evaluate> evaluate_;
};
