#include "platform/CurlDownloadService.h"

#include <curl/curl.h>
#include <sys/socket.h>

#include <array>
#include <atomic>
#include <boost/asio/ip/tcp.hpp>
#include <cstddef>
#include <cstring>
#include <future>
#include <map>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "platform/PublicAddress.h"
#include "platform/TemporaryFile.h"
#include "platform/Turns.h"
#include "platform/Url.h"

namespace vemo {
namespace {

constexpr int kIdleMs = 60'000;       // a wake-up comes with every change
constexpr int kUnwokenMs = 50;        // where none can come
constexpr long kIdleConnections = 8;  // kept for the next transfer to the same server
constexpr std::size_t kMaxHeaderBytes = std::size_t{512} << 10U;  // of a transfer, in all

struct EasyCleanup {
  void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
  void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

/// One download: its handle, what has come so far and who waits for it.
class Transfer {
 public:
  using Done = std::function<void(DownloadResult)>;

  Transfer(std::string url, Done done) : url_(std::move(url)), done_(std::move(done)) {}

  /// What is wrong with the URL, if anything.
  CURLcode problem() const {
    // libcurl would guess a scheme, or call one that it doesn't know malformed.
    const auto scheme = schemeOf(url_);
    if (scheme.empty()) return CURLE_URL_MALFORMAT;
    return scheme == "http" || scheme == "https" ? CURLE_OK : CURLE_UNSUPPORTED_PROTOCOL;
  }

  /// Makes the handle, ready to be run; null when there can be none. `options` outlives the
  /// transfer.
  CURL* prepare(const CurlDownloadOptions& options) {
    options_ = &options;
    easy_.reset(curl_easy_init());
    auto* easy = easy_.get();
    if (!easy) return nullptr;
    curl_easy_setopt(easy, CURLOPT_URL, url_.c_str());
    curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_REDIR_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(easy, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(easy, CURLOPT_MAXREDIRS, static_cast<long>(options.maxRedirects));
    curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(options.timeLimit.count()));
    curl_easy_setopt(easy, CURLOPT_CONNECTTIMEOUT_MS,
                     static_cast<long>(options.connectLimit.count()));
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_LIMIT, 1L);  // bytes a second
    curl_easy_setopt(easy, CURLOPT_LOW_SPEED_TIME, static_cast<long>(options.silenceLimit.count()));
    curl_easy_setopt(easy, CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(options.maxBytes));
    curl_easy_setopt(easy, CURLOPT_FAILONERROR, 1L);
    curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);    // timeouts must not use the process's alarm
    curl_easy_setopt(easy, CURLOPT_QUICK_EXIT, 1L);  // a slow name server must not delay the end
    curl_easy_setopt(easy, CURLOPT_ERRORBUFFER, error_.data());
    curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, &Transfer::write);
    curl_easy_setopt(easy, CURLOPT_WRITEDATA, this);
    curl_easy_setopt(easy, CURLOPT_HEADERFUNCTION, &Transfer::countHeader);
    curl_easy_setopt(easy, CURLOPT_HEADERDATA, this);
    if (!options.privateAddresses) {
      curl_easy_setopt(easy, CURLOPT_PROXY, "");
      curl_easy_setopt(easy, CURLOPT_OPENSOCKETFUNCTION, &Transfer::openSocket);
      curl_easy_setopt(easy, CURLOPT_OPENSOCKETDATA, this);
    }
    return easy;
  }

  /// Ends the transfer and tells it. `why`: what libcurl doesn't know better.
  void finish(CURLcode code, std::string_view why = {}) {
    easy_.reset();
    // An empty file had no first byte.
    if (code == CURLE_OK && !haveFile()) code = CURLE_WRITE_ERROR;
    if (tooLong_) code = CURLE_FILESIZE_EXCEEDED;  // known beforehand only where a server tells it
    if (code == CURLE_COULDNT_CONNECT && refused_) why = "the address is not a public one";
    if (headerBytes_ > kMaxHeaderBytes) {
      code = CURLE_RECV_ERROR;
      why = "the server sends too many header lines";
    }
    DownloadResult result;
    if (code == CURLE_OK) {
      result.file = std::move(file_);
    } else {
      if (why.empty() && !tooLong_) why = error_.data();
      result.error = {code, std::string(why.empty() ? curl_easy_strerror(code) : why)};
    }
    if (done_) done_(std::move(result));
  }

 private:
  static std::size_t write(const char* data, std::size_t unit, std::size_t count, void* self) {
    return static_cast<Transfer*>(self)->append({data, unit * count});
  }

  /// libcurl bounds the header of an answer, but keeps whatever comes as one after its body.
  static std::size_t countHeader(const char*, std::size_t unit, std::size_t count, void* self) {
    auto& bytes = static_cast<Transfer*>(self)->headerBytes_;
    bytes += unit * count;
    return bytes > kMaxHeaderBytes ? CURL_WRITEFUNC_ERROR : unit * count;
  }

  /// How many bytes were taken; fewer than all end the transfer.
  std::size_t append(std::string_view bytes) {
    if (!haveFile()) return CURL_WRITEFUNC_ERROR;
    tooLong_ = bytes.size() > options_->maxBytes - file_->size();
    return !tooLong_ && file_->append(bytes) ? bytes.size() : CURL_WRITEFUNC_ERROR;
  }

  bool haveFile() {
    if (!file_) file_ = TemporaryFile::create(options_->folder);
    return file_ != nullptr;
  }

  static curl_socket_t openSocket(void* self, curlsocktype, curl_sockaddr* to) {
    return static_cast<Transfer*>(self)->open(*to);
  }

  /// Called with the very address that is about to be connected to.
  curl_socket_t open(const curl_sockaddr& to) {
    boost::asio::ip::tcp::endpoint endpoint;
    if (to.addrlen > endpoint.capacity()) return CURL_SOCKET_BAD;
    std::memcpy(endpoint.data(), &to.addr, to.addrlen);
    endpoint.resize(to.addrlen);
    const auto address = endpoint.address();
    refused_ = !isPublic(address) &&
               !(address.is_loopback() && options_->loopbackPorts.contains(endpoint.port()));
    return refused_ ? CURL_SOCKET_BAD
                    : ::socket(to.family, to.socktype | SOCK_CLOEXEC, to.protocol);
  }

  const std::string url_;
  Done done_;
  const CurlDownloadOptions* options_ = nullptr;
  std::size_t headerBytes_ = 0;
  bool tooLong_ = false;
  bool refused_ = false;
  std::array<char, CURL_ERROR_SIZE> error_{};
  std::shared_ptr<TemporaryFile> file_;
  std::unique_ptr<CURL, EasyCleanup> easy_;
};

using TransferPtr = std::unique_ptr<Transfer>;

}  // namespace

class CurlDownloadService::Worker {
 public:
  using RequesterId = Turns<TransferPtr>::Requester;

  explicit Worker(CurlDownloadOptions options) : options_(std::move(options)) {
    static const auto ready = curl_global_init(CURL_GLOBAL_DEFAULT);  // once for the process
    static_cast<void>(ready);
    multi_.reset(curl_multi_init());
    curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, kIdleConnections);
    if (!wakeUp()) idleMs_ = kUnwokenMs;  // there was no descriptor for it
  }

  static void start(const std::shared_ptr<Worker>& self) {
    self->thread_ = std::thread([self] { self->run(); });
    self->id_ = self->thread_.get_id();
  }

  RequesterId newRequester() { return ++lastRequester_; }

  void add(RequesterId requester, TransferPtr transfer) {
    if (tell([&](News& news) { news.added.push_back({requester, std::move(transfer)}); })) return;
    transfer->finish(CURLE_ABORTED_BY_CALLBACK);
  }

  void end(RequesterId requester) {
    std::promise<void> ended;
    const auto whenEnded = ended.get_future();
    const bool told =
        tell([&](News& news) { news.ended.emplace_back(requester, std::move(ended)); });
    if (told && !onOwnThread()) whenEnded.wait();
  }

  void stop() {
    tell([](News& news) { news.stopping = true; });
    if (onOwnThread()) {
      thread_.detach();
    } else {
      thread_.join();
    }
  }

 private:
  using Turn = Turns<TransferPtr>::Turn;

  /// What other threads have told.
  struct News {
    std::vector<Turn> added;
    std::vector<std::pair<RequesterId, std::promise<void>>> ended;
    bool stopping = false;
  };

  /// Whether `change` was made: nothing can be told any more to a service that stops.
  template <class Change>
  bool tell(Change change) {
    {
      const std::lock_guard lock(mutex_);
      if (stopping_) return false;
      change(news_);
      stopping_ = news_.stopping;
    }
    wakeUp();
    return true;
  }

  /// A single failure, as under want of memory, must not leave the thread asleep.
  bool wakeUp() {
    for (int tries = 0; tries < 10; ++tries)
      if (curl_multi_wakeup(multi_.get()) == CURLM_OK) return true;
    return false;
  }

  bool onOwnThread() const { return std::this_thread::get_id() == id_; }

  void run() {
    for (;;) {
      News news;
      {
        const std::lock_guard lock(mutex_);
        std::swap(news, news_);
      }
      for (auto& [requester, transfer] : news.added) accept(requester, std::move(transfer));
      for (auto& [requester, ended] : news.ended) {
        abort(requester);
        ended.set_value();
      }
      if (news.stopping) break;
      beginThoseWhoseTurnItIs();
      int running = 0;
      curl_multi_perform(multi_.get(), &running);
      if (finishEnded()) continue;  // callbacks may have changed something
      curl_multi_poll(multi_.get(), nullptr, 0, idleMs_, nullptr);
    }
    while (auto waiting = turns_.take()) waiting->work->finish(CURLE_ABORTED_BY_CALLBACK);
    while (!running_.empty()) finish(running_.begin()->first, CURLE_ABORTED_BY_CALLBACK);
  }

  void accept(RequesterId requester, TransferPtr transfer) {
    if (const auto problem = transfer->problem(); problem != CURLE_OK) {
      transfer->finish(problem);
    } else if (turns_.of(requester).size() >= options_.waitingOfARequester) {
      transfer->finish(CURLE_AGAIN, "too many downloads wait already");
    } else {
      turns_.add(requester, std::move(transfer));
      beginThoseWhoseTurnItIs();
    }
  }

  void abort(RequesterId requester) {
    for (const auto& waiting : turns_.drop(requester)) waiting->finish(CURLE_ABORTED_BY_CALLBACK);
    std::vector<CURL*> handles;
    for (const auto& [easy, running] : running_) {
      if (running.requester == requester) handles.push_back(easy);
    }
    for (auto* easy : handles) finish(easy, CURLE_ABORTED_BY_CALLBACK);
  }

  void beginThoseWhoseTurnItIs() {
    while (running_.size() < options_.transfers) {
      auto turn = turns_.take([this](RequesterId each) { return !counts_.contains(each); });
      if (!turn && running_.size() - counts_.size() < options_.furtherTransfers) {
        turn = turns_.take(
            [this](RequesterId each) { return counts_.at(each) < options_.transfersOfARequester; });
      }
      if (!turn) return;
      begin(std::move(*turn));
    }
  }

  void begin(Turn turn) {
    auto* easy = turn.work->prepare(options_);
    if (!easy) return turn.work->finish(CURLE_FAILED_INIT);
    ++counts_[turn.requester];
    running_.emplace(easy, std::move(turn));
    if (curl_multi_add_handle(multi_.get(), easy) != CURLM_OK) finish(easy, CURLE_FAILED_INIT);
  }

  bool finishEnded() {
    bool any = false;
    int left = 0;
    while (const auto* message = curl_multi_info_read(multi_.get(), &left)) {
      if (message->msg != CURLMSG_DONE) continue;
      // NOLINTNEXTLINE(cppcoreguidelines-pro-type-union-access): so curl tells it
      finish(message->easy_handle, message->data.result);
      any = true;
    }
    return any;
  }

  void finish(CURL* easy, CURLcode code) {
    curl_multi_remove_handle(multi_.get(), easy);
    const auto ended = running_.extract(easy);
    const auto& turn = ended.mapped();
    if (--counts_.at(turn.requester) == 0) counts_.erase(turn.requester);
    turn.work->finish(code);
  }

  const CurlDownloadOptions options_;
  std::unique_ptr<CURLM, MultiCleanup> multi_;
  int idleMs_ = kIdleMs;
  std::atomic<RequesterId> lastRequester_ = 0;

  // The thread's own.
  Turns<TransferPtr> turns_;
  std::map<CURL*, Turn> running_;
  std::map<RequesterId, std::size_t> counts_;  // of those that have transfers running

  std::mutex mutex_;
  News news_;
  bool stopping_ = false;
  std::thread thread_;
  std::thread::id id_;  // stays when the thread is let go
};

class CurlDownloadService::Requester final : public DownloadService {
 public:
  explicit Requester(std::shared_ptr<Worker> worker)
      : worker_(std::move(worker)), id_(worker_->newRequester()) {}
  ~Requester() override { worker_->end(id_); }
  Requester(const Requester&) = delete;
  Requester& operator=(const Requester&) = delete;

  bool isUrl(const std::string& text) const override { return !schemeOf(text).empty(); }
  void download(const std::string& url, std::function<void(DownloadResult)> done) override {
    worker_->add(id_, std::make_unique<Transfer>(url, std::move(done)));
  }

 private:
  const std::shared_ptr<Worker> worker_;
  const Worker::RequesterId id_;
};

CurlDownloadService::CurlDownloadService(CurlDownloadOptions options)
    : worker_(std::make_shared<Worker>(std::move(options))), self_(forRequester()) {
  Worker::start(worker_);
}

CurlDownloadService::~CurlDownloadService() { worker_->stop(); }

std::unique_ptr<DownloadService> CurlDownloadService::forRequester() {
  return std::make_unique<Requester>(worker_);
}

bool CurlDownloadService::isUrl(const std::string& text) const { return self_->isUrl(text); }

void CurlDownloadService::download(const std::string& url,
                                   std::function<void(DownloadResult)> done) {
  self_->download(url, std::move(done));
}

}  // namespace vemo
