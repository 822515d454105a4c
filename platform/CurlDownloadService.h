#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "bridge/DownloadService.h"

namespace vemo {

/// What a download may cost.
struct CurlDownloadOptions {
  std::uint64_t maxBytes = std::uint64_t{16} << 20U;  ///< of a file
  std::chrono::milliseconds timeLimit{30'000};        ///< from the call to the end
  int maxRedirects = 5;
  std::filesystem::path folder = {};  ///< for the files; empty: the system's temporary one
};

/// Downloads by libcurl, over http and https only, redirects included. Errors carry
/// libcurl's own code and text: CURLE_UNSUPPORTED_PROTOCOL for other schemes,
/// CURLE_URL_MALFORMAT for what is no URL, CURLE_FILESIZE_EXCEEDED,
/// CURLE_OPERATION_TIMEDOUT, CURLE_TOO_MANY_REDIRECTS, CURLE_HTTP_RETURNED_ERROR for an
/// answer of 400 or more, and so on.
///
/// A downloaded file has no name in the file system: it goes with its last holder, and
/// with the process.
///
/// Threads: any. All transfers run side by side on one thread of the service, which
/// also calls `done`; callers wait for nothing. Destruction ends what is under way with
/// CURLE_ABORTED_BY_CALLBACK and waits until that was told, unless it is called from a
/// `done` itself.
class CurlDownloadService final : public DownloadService {
 public:
  explicit CurlDownloadService(CurlDownloadOptions options = {});
  ~CurlDownloadService() override;
  CurlDownloadService(const CurlDownloadService&) = delete;
  CurlDownloadService& operator=(const CurlDownloadService&) = delete;

  bool isUrl(const std::string& text) const override;
  void download(const std::string& url, std::function<void(DownloadResult)> done) override;

 private:
  class Worker;
  // Shared with its thread, which may outlive the service by the callback that ended it.
  std::shared_ptr<Worker> worker_;
};

}  // namespace vemo
