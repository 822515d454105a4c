#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "bridge/DownloadService.h"
#include "bridge/MainQueue.h"

namespace vemo {

/// Downloads as `real` makes them, or ones that all fail as was chosen. Any thread; chosen
/// failures are told on the main thread.
class FailingDownloads final : public DownloadService {
 public:
  /// `mainQueue` outlives this.
  FailingDownloads(std::unique_ptr<DownloadService> real, MainQueue& mainQueue)
      : real_(std::move(real)), mainQueue_(mainQueue) {}

  /// How downloads that begin from now on fail; nothing: they are really made.
  void failWith(std::optional<DownloadError> error) {
    const std::lock_guard lock(mutex_);
    error_ = std::move(error);
  }

  bool isUrl(const std::string& text) const override { return real_->isUrl(text); }
  void download(const std::string& url, std::function<void(DownloadResult)> done) override {
    const auto failure = error();
    if (!failure) return real_->download(url, std::move(done));
    mainQueue_.dispatchAsync([done = std::move(done), failure] {
      done(DownloadResult{failure, nullptr});
    });
  }

 private:
  std::optional<DownloadError> error() const {
    const std::lock_guard lock(mutex_);
    return error_;
  }

  const std::unique_ptr<DownloadService> real_;
  MainQueue& mainQueue_;
  mutable std::mutex mutex_;  // never held while calling out
  std::optional<DownloadError> error_;
};

}  // namespace vemo
