#pragma once

#include <algorithm>
#include <functional>
#include <memory>
#include <string>
#include <utility>

#include "bridge/DownloadService.h"
#include "bridge/ImageDecoder.h"
#include "bridge/MainQueue.h"

namespace vemo {

/// The downloads of a phone that has no internet: every one ends with an error.
class OfflineDownloads final : public DownloadService {
 public:
  /// `mainQueue` outlives this.
  explicit OfflineDownloads(MainQueue& mainQueue) : mainQueue_(mainQueue) {}

  bool isUrl(const std::string& text) const override {
    const auto colon = text.find("://");
    const auto isBlank = [](char c) { return static_cast<unsigned char>(c) <= ' ' || c == '\x7f'; };
    return colon != std::string::npos && colon > 0 && colon + 3 < text.size() &&
           std::none_of(text.begin(), text.end(), isBlank);
  }

  void download(const std::string& /*url*/, std::function<void(DownloadResult)> done) override {
    mainQueue_.dispatchAsync(
        [done = std::move(done)] { done({DownloadError{-1009, "the phone is offline"}, nullptr}); });
  }

 private:
  MainQueue& mainQueue_;
};

/// Knows no image format.
class NoImages final : public ImageDecoder {
 public:
  std::shared_ptr<VEMOImage> decode(const std::string& /*bytes*/) const override { return nullptr; }
};

}  // namespace vemo
