#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "bridge/Text.h"

namespace vemo {

/// A file that a download left behind; deleted when the last holder lets go.
class DownloadedFile {
 public:
  virtual ~DownloadedFile() = default;

  /// The whole file; nothing when it can't be read. Any thread.
  virtual std::optional<std::string> readAll() const = 0;
};

/// Why a download failed: the service's own code and text.
struct DownloadError {
  std::int64_t code = 0;
  Text description;
};

/// How a download ended: with an error, or with a file.
struct DownloadResult {
  std::optional<DownloadError> error;
  std::shared_ptr<const DownloadedFile> file;
};

/// Fetches files by URL. Any thread.
class DownloadService {
 public:
  virtual ~DownloadService() = default;

  /// Whether `text` forms a URL: absolute, with a scheme and a non-empty rest, no
  /// blanks or control characters. Says nothing of whether the scheme is served.
  virtual bool isUrl(const std::string& text) const = 0;

  /// Starts fetching `url` and returns at once. `done` is called once, on a thread
  /// of the service's own, whatever happens; a scheme that is not served ends with
  /// an error, and so does an HTTP status of 400 or more, whatever came with it. The service
  /// holds `done` until then.
  virtual void download(const std::string& url, std::function<void(DownloadResult)> done) = 0;
};

}  // namespace vemo
