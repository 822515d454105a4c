#include "platform/DBusNotificationCenter.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <iterator>
#include <mutex>
#include <new>
#include <regex>
#include <thread>
#include <utility>

#include "json/JsonText.h"
#include "platform/LoopbackNotificationCenter.h"
#include "platform/Subscriptions.h"

namespace vemo {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr const char* kPath = "/vemo/NotificationCenter";
constexpr const char* kInterface = "vemo.NotificationCenter";
constexpr const char* kSignal = "Posted";
constexpr const char* kMatch =
    "type='signal',path='/vemo/NotificationCenter',interface='vemo.NotificationCenter',"
    "member='Posted'";
constexpr milliseconds kFirstPause{100};
constexpr milliseconds kLongestPause{5'000};
constexpr std::size_t kSentAtOnce = 100;  // then the bus gives some back first
constexpr std::size_t kLongestName = std::size_t{64} << 10U;

struct CloseBus {
  // Without a flush, which would wait for ever for a bus that has stopped.
  void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

/// Begins to connect, without waiting; 0 or more, or a negative errno.
int startBus(const std::string& address, Bus& to) {
  sd_bus* bus = nullptr;
  int result = 0;
  if (address.empty()) {
    result = sd_bus_open_user(&bus);
    to.reset(bus);
    return result;
  }
  result = sd_bus_new(&bus);
  to.reset(bus);
  if (result >= 0) result = sd_bus_set_address(bus, address.c_str());
  if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
  if (result >= 0) result = sd_bus_start(bus);
  return result;
}

/// How long poll may wait until `deadline`: at most a minute, and rounded up.
int waitMs(Clock::time_point deadline) {
  const auto left = std::clamp<Clock::duration>(deadline - Clock::now(), Clock::duration::zero(),
                                                std::chrono::minutes(1));
  return static_cast<int>(std::chrono::ceil<milliseconds>(left).count());
}

/// `address` without the id of the bus that is there now: one that comes back has another.
std::string withoutBusId(const std::string& address) {
  static const std::regex id(",guid=[^,;]*|guid=[^,;]*,?");
  return std::regex_replace(address, id, "");
}

std::string counted(std::size_t notifications) {
  return std::to_string(notifications) + (notifications == 1 ? " notification" : " notifications");
}

}  // namespace

/// The connection and its thread, which alone uses the bus once it runs.
class DBusNotificationCenter::Connection {
 public:
  explicit Connection(DBusNotificationCenterOptions options)
      : options_(std::move(options)), wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~Connection() {
    bus_.reset();
    if (wake_ >= 0) ::close(wake_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  Subscriptions subscriptions;

  /// 0 or more when the bus is there and sends us what is posted; else a negative errno.
  int open() {
    if (wake_ < 0) return -errno;
    const int result = connect();
    const char* address = nullptr;
    // The same bus later too, whatever the environment says then.
    if (result >= 0 && sd_bus_get_address(bus_.get(), &address) >= 0) {
      options_.address = withoutBusId(address);
    }
    return result;
  }

  static void start(const std::shared_ptr<Connection>& self) {
    self->thread_ = std::thread([self] { self->run(); });
  }

  void post(const std::string& name) {
    {
      const std::lock_guard lock(mutex_);
      posted_.push_back(name);
      dropOldest();
    }
    wake();
  }

  void stop() {
    const bool fromCallback = thread_.get_id() == std::this_thread::get_id();
    subscriptions.clear();  // nothing more is called, wherever the thread is
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    wake();
    if (fromCallback) {
      hostIsGone_ = true;
      thread_.detach();
    } else {
      thread_.join();
    }
  }

 private:
  static int received(sd_bus_message* message, void* self, sd_bus_error*) {
    auto& connection = *static_cast<Connection*>(self);
    try {
      connection.take(message);
    } catch (const std::bad_alloc&) {
      connection.takeResult_ = -ENOMEM;  // C, from which this is called, passes nothing on
    }
    return 0;  // of a signal, sd-bus forgets any other
  }

  static int matched(sd_bus_message* answer, void* self, sd_bus_error*) {
    static_cast<Connection*>(self)->matchResult_ =
        sd_bus_message_is_method_error(answer, nullptr) > 0 ? -sd_bus_message_get_errno(answer) : 1;
    return 0;
  }

  void take(sd_bus_message* message) {
    const char* name = nullptr;
    const int result = sd_bus_message_read(message, "s", &name);
    if (result == -ENOMEM) takeResult_ = result;
    if (result < 0) return;  // a signal of another form is somebody else's
    const char* sender = sd_bus_message_get_sender(message);
    if (sender && sender == ownName_ && !sent_.empty()) sent_.pop_front();
    subscriptions.call(name);
  }

  void wake() const {
    const std::uint64_t one = 1;
    // It fails only when very many are pending, and then the thread wakes up anyway.
    static_cast<void>(::write(wake_, &one, sizeof one) == sizeof one);
  }

  bool stopping() const {
    const std::lock_guard lock(mutex_);
    return stopping_;
  }

  void run() {
    while (!stopping()) {
      tellWhatWasDropped();
      if (!bus_) {
        reconnect();
        continue;
      }
      send(kSentAtOnce);
      if (bus_) advance(Clock::time_point::max());
    }
    finish();
  }

  // ---- The bus

  /// Connects, within the limit and unless stopped: 0 or more, or a negative errno.
  int connect() {
    const auto deadline = Clock::now() + options_.connectLimit;
    matchResult_ = 0;
    int result = startBus(options_.address, bus_);
    if (result >= 0) {
      // Goes out as soon as the bus has let us in.
      result = sd_bus_add_match_async(bus_.get(), nullptr, kMatch, &Connection::received,
                                      &Connection::matched, this);
    }
    while (result >= 0 && matchResult_ == 0) {
      if (stopping()) {
        result = -ECANCELED;
      } else if (Clock::now() >= deadline) {
        result = -ETIMEDOUT;
      } else {
        result = processOrWait(deadline);
      }
    }
    if (result >= 0) result = matchResult_;
    const char* name = nullptr;
    if (result >= 0) result = sd_bus_get_unique_name(bus_.get(), &name);
    if (result >= 0) {
      ownName_ = name;
    } else {
      bus_.reset();
    }
    return result;
  }

  /// Does something of what there is to do, or waits for it, for a wake-up or for
  /// `deadline`; a negative errno when the connection is lost.
  int processOrWait(Clock::time_point deadline) {
    const int processed = sd_bus_process(bus_.get(), nullptr);
    if (processed == 0) wait(deadline);
    const int taken = std::exchange(takeResult_, 0);
    return taken < 0 ? taken : processed;
  }

  void advance(Clock::time_point deadline) {
    if (const int result = processOrWait(deadline); result < 0) lose(result);
  }

  void reconnect() {
    wait(nextAttempt_);
    if (Clock::now() < nextAttempt_ || stopping()) return;
    if (connect() < 0) {
      pauseBeforeAttempt(std::min(pause_ * 2, kLongestPause));
      return;
    }
    tell(DBusNews::back, "the bus at " + options_.address + " is back");
  }

  void lose(int problem) {
    bus_.reset();
    {
      const std::lock_guard lock(mutex_);
      posted_.insert(posted_.begin(), std::make_move_iterator(sent_.begin()),
                     std::make_move_iterator(sent_.end()));
      dropOldest();
    }
    sent_.clear();
    pauseBeforeAttempt(kFirstPause);
    tell(DBusNews::lost, "the bus at " + options_.address + " is gone (" + std::strerror(-problem) +
                             "); notifications wait until it is back");
  }

  void pauseBeforeAttempt(milliseconds pause) {
    pause_ = pause;
    nextAttempt_ = Clock::now() + pause;
  }

  /// Waits until the bus or somebody in this process has something for the thread.
  void wait(Clock::time_point deadline) const {
    std::array<pollfd, 2> watched{{{wake_, POLLIN, 0}, {-1, 0, 0}}};
    if (bus_) {
      std::uint64_t dueUs = UINT64_MAX;
      sd_bus_get_timeout(bus_.get(), &dueUs);
      if (dueUs != UINT64_MAX) {
        deadline = std::min(deadline, Clock::time_point(microseconds(dueUs)));
      }
      watched[1] = {sd_bus_get_fd(bus_.get()),
                    static_cast<short>(std::max(sd_bus_get_events(bus_.get()), 0)), 0};
    }
    ::poll(watched.data(), watched.size(), waitMs(deadline));
    std::uint64_t count = 0;
    static_cast<void>(::read(wake_, &count, sizeof count) == sizeof count);  // nothing is fine
  }

  // ---- What was posted

  /// Sends what was posted while the bus has not more than `limit` to give back.
  void send(std::size_t limit) {
    while (bus_ && sent_.size() < limit) {
      {
        const std::lock_guard lock(mutex_);
        if (posted_.empty()) return;
        sent_.push_back(std::move(posted_.front()));
        posted_.pop_front();
      }
      const auto text = validUtf8(sent_.back());
      // Of a very long one the bus gives nothing back for long, and sd-bus copies it each time.
      const int result =
          text.size() > kLongestName
              ? -EMSGSIZE
              : sd_bus_emit_signal(bus_.get(), kPath, kInterface, kSignal, "s", text.c_str());
      if (result == -ECONNRESET || result == -ENOTCONN) {
        lose(result);
      } else if (result < 0) {
        sent_.pop_back();
        tell(DBusNews::dropped,
             "a notification can't be posted: " + std::string(std::strerror(-result)));
      }
    }
  }

  /// Keeps to the limit. With the lock.
  void dropOldest() {
    while (posted_.size() > options_.waitingLimit) {
      posted_.pop_front();
      ++dropped_;
    }
  }

  void tellWhatWasDropped() {
    std::size_t dropped = 0;
    {
      const std::lock_guard lock(mutex_);
      // Told once it begins, and the sum of what followed once there is room again.
      const bool full = posted_.size() >= options_.waitingLimit;
      toldOfDropping_ = toldOfDropping_ && full;
      if (dropped_ == 0 || toldOfDropping_) return;
      dropped = std::exchange(dropped_, 0);
      toldOfDropping_ = full;
    }
    tell(DBusNews::dropped,
         counted(dropped) + " dropped, as too many wait for the bus at " + options_.address);
  }

  /// Waits until the bus has given back what was sent: a connection that closes with
  /// something unread can lose what it sent last.
  void finish() {
    const auto deadline = Clock::now() + options_.endLimit;
    while (bus_ && Clock::now() < deadline) {
      send(kSentAtOnce);
      if (!bus_ || sent_.empty()) break;
      advance(deadline);
    }
    bus_.reset();
    std::size_t unsent = sent_.size();
    {
      const std::lock_guard lock(mutex_);
      unsent += posted_.size() + dropped_;
    }
    if (unsent > 0) {
      tell(DBusNews::dropped, counted(unsent) + " dropped, as the bus at " + options_.address +
                                  " did not take them before the end");
    }
  }

  void tell(DBusNews news, const std::string& sentence) {
    if (options_.news && !hostIsGone_) options_.news(news, sentence);
  }

  DBusNotificationCenterOptions options_;
  const int wake_;
  Bus bus_;  // null while there is no connection
  std::string ownName_;
  int matchResult_ = 0;  // 0 until the bus has answered
  // A negative errno when a notification could not be taken, by which the connection is lost: so
  // the host hears of it, and what it posted itself comes again.
  int takeResult_ = 0;
  milliseconds pause_ = kFirstPause;
  Clock::time_point nextAttempt_;
  std::deque<std::string> sent_;  // and not yet given back by the bus
  bool hostIsGone_ = false;       // on the thread only

  mutable std::mutex mutex_;
  std::deque<std::string> posted_;
  std::size_t dropped_ = 0;  // of which nothing was told yet
  bool toldOfDropping_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

std::unique_ptr<DBusNotificationCenter> DBusNotificationCenter::create(
    DBusNotificationCenterOptions options, std::string* error) {
  const auto bus =
      options.address.empty() ? "no session bus: " : "no bus at " + options.address + ": ";
  auto connection = std::make_shared<Connection>(std::move(options));
  if (const int result = connection->open(); result < 0) {
    if (error) *error = bus + std::strerror(-result);
    return nullptr;
  }
  return std::unique_ptr<DBusNotificationCenter>(new DBusNotificationCenter(std::move(connection)));
}

DBusNotificationCenter::DBusNotificationCenter(std::shared_ptr<Connection> connection)
    : connection_(std::move(connection)) {
  Connection::start(connection_);
}

DBusNotificationCenter::~DBusNotificationCenter() { connection_->stop(); }

void DBusNotificationCenter::post(const std::string& name) { connection_->post(name); }

void DBusNotificationCenter::addObserver(const void* observer, const std::string& name,
                                         Callback callback) {
  connection_->subscriptions.add(observer, name, std::move(callback));
}

void DBusNotificationCenter::removeObserver(const void* observer, const std::string& name) {
  connection_->subscriptions.remove(observer, name);
}

void DBusNotificationCenter::removeEveryObserver(const void* observer) {
  connection_->subscriptions.removeEvery(observer);
}

std::unique_ptr<CrossProcessNotificationCenter> makeCrossProcessCenter(
    DBusNotificationCenterOptions options, std::string* whyNoBus) {
  if (auto center = DBusNotificationCenter::create(std::move(options), whyNoBus)) return center;
  return std::make_unique<LoopbackNotificationCenter>();
}

}  // namespace vemo
