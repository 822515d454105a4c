#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>

#include "bridge/DownloadService.h"

namespace vemo {

/// What downloads may cost, and where they may go.
struct CurlDownloadOptions {
  std::uint64_t maxBytes = std::uint64_t{16} << 20U;  ///< of a file
  std::chrono::milliseconds timeLimit{30'000};        ///< of a transfer, redirects included
  std::chrono::milliseconds connectLimit{10'000};     ///< until a server has taken the call
  std::chrono::seconds silenceLimit{10};  ///< a server that says nothing so long is given up
  int maxRedirects = 5;
  std::filesystem::path folder = {};  ///< for the files; empty: the system's temporary one

  /// Transfers at once, for all requesters together. One whose turn has not come takes no
  /// connection and no file.
  std::size_t transfers = 64;
  /// Of these, how many may be further ones of requesters that have one already. The rest is
  /// kept for those that have none.
  std::size_t furtherTransfers = 16;
  std::size_t transfersOfARequester = 4;
  std::size_t waitingOfARequester = 64;  ///< more end with an error at once

  /// Whether a URL or a redirect may lead to an address that is not public: to this machine,
  /// or to its private or link-local network. Pages choose the URLs, so a host says yes only
  /// where they may reach whatever it can reach itself. The address that is connected to
  /// counts, whatever name led to it. While it is false, proxies that the environment names
  /// are not used: they would choose the address.
  bool privateAddresses = false;
  /// Ports of this machine's loopback addresses that may be reached all the same, such as
  /// that of the host's own web server.
  std::set<std::uint16_t> loopbackPorts = {};
};

/// Downloads by libcurl, over http and https only, redirects included. Errors carry
/// libcurl's own code and text: CURLE_UNSUPPORTED_PROTOCOL for other schemes,
/// CURLE_URL_MALFORMAT for what is no URL, CURLE_FILESIZE_EXCEEDED,
/// CURLE_OPERATION_TIMEDOUT, CURLE_TOO_MANY_REDIRECTS, CURLE_HTTP_RETURNED_ERROR for an
/// answer of 400 or more, CURLE_COULDNT_CONNECT for an address that may not be reached,
/// too, CURLE_RECV_ERROR for half a megabyte of header lines, CURLE_AGAIN when too many
/// wait already, and so on.
///
/// The service serves many requesters: each handle that forRequester gives out is one, and
/// so is the service itself. They take turns. A requester that has no transfer gets one at
/// once while there are fewer than options.transfers; else it is the next but for others
/// that have none either, and waits until a transfer ends, which takes no longer than the
/// time limits.
///
/// A downloaded file has no name in the file system: it goes with its last holder, and
/// with the process. It is opened with the first byte.
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

  /// The service for one requester, such as one phone of many. Destroying the handle ends
  /// its downloads as destroying the service ends all. It may outlive the service: its
  /// downloads then end with the same error at once, on the calling thread.
  std::unique_ptr<DownloadService> forRequester();

  bool isUrl(const std::string& text) const override;
  void download(const std::string& url, std::function<void(DownloadResult)> done) override;

 private:
  class Worker;
  class Requester;
  // Shared with its thread, which may outlive the service by the callback that ended it,
  // and with the requesters.
  std::shared_ptr<Worker> worker_;
  std::unique_ptr<DownloadService> self_;
};

}  // namespace vemo
