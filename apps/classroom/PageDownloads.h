#pragma once

#include <functional>
#include <memory>
#include <string>

#include "bridge/DownloadService.h"
#include "classroom/PageGate.h"
#include "engine/EngineThread.h"

namespace vemo {

/// The downloads of a page, its own files among them, which no other service knows.
class PageDownloads final : public DownloadService {
 public:
  /// `gate` and `thread`, which tells of own files, outlive this.
  PageDownloads(const PageGate& gate, EngineThread& thread, std::unique_ptr<DownloadService> others)
      : gate_(gate), thread_(thread), others_(std::move(others)) {}

  bool isUrl(const std::string& text) const override { return others_->isUrl(text); }
  /// An own file that is not there ends with ENOENT.
  void download(const std::string& url, std::function<void(DownloadResult)> done) override;

 private:
  const PageGate& gate_;
  EngineThread& thread_;
  const std::unique_ptr<DownloadService> others_;
};

}  // namespace vemo
