#include "platform/CurlDownloadService.h"

#include <curl/curl.h>

#include <algorithm>
#include <array>
#include <map>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "platform/TemporaryFile.h"

namespace vemo {
namespace {

constexpr int kIdleMs = 60'000;    // a wake-up comes with every change
constexpr long kConnections = 16;  // more transfers wait for their turn

struct EasyCleanup {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool isSchemeCharacter(char c) {
  return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
}

bool isBlankOrControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte <= 0x20 || byte == 0x7F;
}

bool isAbsoluteUrl(std::string_view text) {
  const auto colon = text.find(':');
  if (colon == std::string_view::npos) return false;
  const auto scheme = text.substr(0, colon);
  return !scheme.empty() && isLetter(scheme.front()) && colon + 1 < text.size() &&
         std::all_of(scheme.begin(), scheme.end(), isSchemeCharacter) &&
         std::none_of(text.begin(), text.end(), isBlankOrControl);
}

/// Whether the scheme of an absolute URL is one that we serve.
bool isServed(std::string_view url) {
  std::string scheme(url.substr(0, url.find(':')));
  std::transform(scheme.begin(), scheme.end(), scheme.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return scheme == "http" || scheme == "https";
}

/// One download: its handle, what has come so far and who waits for it.
class Transfer {
 public:
  using Done = std::function<void(DownloadResult)>;

  Transfer(std::string url, Done done) : url_(std::move(url)), done_(std::move(done)) {}

  /// Makes the handle, ready to be run.
  CURLcode prepare(const CurlDownloadOptions& options) {
    // libcurl would guess a scheme, or call one that it doesn't know malformed.
    if (!isAbsoluteUrl(url_)) return CURLE_URL_MALFORMAT;
    if (!isServed(url_)) return CURLE_UNSUPPORTED_PROTOCOL;
    maxBytes_ = options.maxBytes;
    file_ = TemporaryFile::create(options.folder);
    if (!file_) return CURLE_WRITE_ERROR;
    easy_.reset(curl_easy_init());
    if (!easy_) return CURLE_FAILED_INIT;
    auto* easy = easy_.get();
    curl_easy_setopt(easy, CURLOPT_URL, url_.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, static_cast<long>(options.maxRedirects));
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(options.timeLimit.count()));
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options.maxBytes));
    curl_easy_setopt(easy, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);    // timeouts must not use the process's alarm
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);  // a slow name server must not delay the end
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, error_.data());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::write);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    return CURLE_OK;
  }

  CURL* handle() const { return easy_.get(); }

  void finish(CURLcode code) {
    // The size is known beforehand only where the server tells it.
    if (tooLong_) code = CURLE_FILESIZE_EXCEEDED;
    DownloadResult result;
    if (code == CURLE_OK) {
      result.file = std::move(file_);
    } else {
      const std::string_view said(error_.data());
      const bool own = said.empty() || tooLong_;
      result.error = {code, own ? std::string(curl_easy_strerror(code)) : std::string(said)};
    }
    easy_.reset();
    if (done_) done_(std::move(result));
  }

 private:
  static std::size_t write(const char* data, std::size_t unit, std::size_t count, void* self) {
    return static_cast<Transfer*>(self)->append({data, unit * count});
  }

  /// How many bytes were taken; fewer than all end the transfer.
  std::size_t append(std::string_view bytes) {
    tooLong_ = bytes.size() > maxBytes_ - file_->size();
    return !tooLong_ && file_->append(bytes) ? bytes.size() : CURL_WRITEFUNC_ERROR;
  }

  const std::string url_;
  Done done_;
  std::uint64_t maxBytes_ = 0;
  bool tooLong_ = false;
  std::array<char, CURL_ERROR_SIZE> error_{};
  std::shared_ptr<TemporaryFile> file_;
  std::unique_ptr<CURL, EasyCleanup> easy_;
};

}  // namespace

class CurlDownloadService::Worker {
 public:
  explicit Worker(CurlDownloadOptions options) : options_(std::move(options)) {
    static const auto ready = curl_global_init(CURL_GLOBAL_DEFAULT);  // once for the process
    static_cast<void>(ready);
    multi_.reset(curl_multi_init());
    curl_multi_setopt(multi_.get(), CURLMOPT_MAX_TOTAL_CONNECTIONS, kConnections);
  }

  static void start(const std::shared_ptr<Worker>& self) {
    self->thread_ = std::thread([self] { self->run(); });
  }

  void add(std::unique_ptr<Transfer> transfer) {
    {
      const std::lock_guard lock(mutex_);
      added_.push_back(std::move(transfer));
    }
    curl_multi_wakeup(multi_.get());
  }

  void stop() {
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    curl_multi_wakeup(multi_.get());
    if (thread_.get_id() == std::this_thread::get_id()) {
      thread_.detach();
    } else {
      thread_.join();
    }
  }

 private:
  using Transfers = std::vector<std::unique_ptr<Transfer>>;

  void run() {
    bool stopping = false;
    while (!stopping) {
      Transfers added;
      {
        const std::lock_guard lock(mutex_);
        added.swap(added_);
        stopping = stopping_;
      }
      for (auto& transfer : added) begin(std::move(transfer));
      if (stopping) break;
      int running = 0;
      curl_multi_perform(multi_.get(), &running);
      if (finishEnded()) continue;  // callbacks may have changed something
      curl_multi_poll(multi_.get(), nullptr, 0, kIdleMs, nullptr);
    }
    while (!transfers_.empty()) finish(transfers_.begin()->first, CURLE_ABORTED_BY_CALLBACK);
  }

  void begin(std::unique_ptr<Transfer> transfer) {
    if (const auto problem = transfer->prepare(options_); problem != CURLE_OK) {
      transfer->finish(problem);
      return;
    }
    auto* easy = transfer->handle();
    transfers_.emplace(easy, std::move(transfer));
    if (curl_multi_add_handle(multi_.get(), easy) != CURLM_OK) finish(easy, CURLE_FAILED_INIT);
  }

  bool finishEnded() {
    bool any = false;
    int left = 0;
    while (const auto* message = curl_multi_info_read(multi_.get(), &left)) {
      if (message->msg != CURLMSG_DONE) continue;
      finish(message->easy_handle, message->data.result);
      any = true;
    }
    return any;
  }

  void finish(CURL* easy, CURLcode code) {
    curl_multi_remove_handle(multi_.get(), easy);
    const auto found = transfers_.find(easy);
    const auto transfer = std::move(found->second);
    transfers_.erase(found);
    transfer->finish(code);
  }

  const CurlDownloadOptions options_;
  std::unique_ptr<CURLM, MultiCleanup> multi_;
  std::map<CURL*, std::unique_ptr<Transfer>> transfers_;  // the thread's own
  std::mutex mutex_;
  Transfers added_;
  bool stopping_ = false;
  std::thread thread_;
};

CurlDownloadService::CurlDownloadService(CurlDownloadOptions options)
    : worker_(std::make_shared<Worker>(std::move(options))) {
  Worker::start(worker_);
}

CurlDownloadService::~CurlDownloadService() { worker_->stop(); }

bool CurlDownloadService::isUrl(const std::string& text) const { return isAbsoluteUrl(text); }

void CurlDownloadService::download(const std::string& url,
                                   std::function<void(DownloadResult)> done) {
  worker_->add(std::make_unique<Transfer>(url, std::move(done)));
}

}  // namespace vemo
