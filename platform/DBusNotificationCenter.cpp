#include "platform/DBusNotificationCenter.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <systemd/sd-bus.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "json/JsonText.h"
#include "platform/Subscriptions.h"

namespace vemo {
namespace {

constexpr const char* kPath = "/vemo/NotificationCenter";
constexpr const char* kInterface = "vemo.NotificationCenter";
constexpr const char* kSignal = "Posted";
constexpr const char* kMatch =
    "type='signal',path='/vemo/NotificationCenter',interface='vemo.NotificationCenter',"
    "member='Posted'";
constexpr std::uint64_t kAnswerLimitUs = 5'000'000;  // a bus that hangs is none

struct CloseBus {
  void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
using Bus = std::unique_ptr<sd_bus, CloseBus>;

int openBus(const std::string& address, Bus& to) {
  sd_bus* bus = nullptr;
  int result = 0;
  if (address.empty()) {
    result = sd_bus_open_user(&bus);
    to.reset(bus);
  } else {
    result = sd_bus_new(&bus);
    to.reset(bus);
    if (result >= 0) result = sd_bus_set_address(bus, address.c_str());
    if (result >= 0) result = sd_bus_set_bus_client(bus, 1);
    if (result >= 0) result = sd_bus_start(bus);
  }
  if (result >= 0) result = sd_bus_set_method_call_timeout(to.get(), kAnswerLimitUs);
  return result;
}

/// How long poll may wait for what is due at `deadlineUs` of the monotonic clock.
int waitMs(std::uint64_t deadlineUs) {
  if (deadlineUs == UINT64_MAX) return -1;
  timespec now{};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  const auto nowUs = static_cast<std::uint64_t>(now.tv_sec) * 1'000'000 +
                     static_cast<std::uint64_t>(now.tv_nsec) / 1'000;
  if (deadlineUs <= nowUs) return 0;
  return static_cast<int>(std::min<std::uint64_t>((deadlineUs - nowUs) / 1'000 + 1, 60'000));
}

}  // namespace

/// The connection and its thread, which alone uses the bus once it runs.
class DBusNotificationCenter::Connection {
 public:
  Connection() : wake_(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}
  ~Connection() {
    bus_.reset();
    if (wake_ >= 0) ::close(wake_);
  }
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  Subscriptions subscriptions;

  /// 0 or more when the bus is there and sends us what is posted; else a negative errno.
  int open(const std::string& address) {
    if (wake_ < 0) return -errno;
    if (const int result = openBus(address, bus_); result < 0) return result;
    return sd_bus_add_match(bus_.get(), nullptr, kMatch, &Connection::received, this);
  }

  static void start(const std::shared_ptr<Connection>& self) {
    self->thread_ = std::thread([self] { self->run(); });
  }

  void post(const std::string& name) {
    {
      const std::lock_guard lock(mutex_);
      posted_.push_back(name);
    }
    wake();
  }

  void stop() {
    subscriptions.clear();  // nothing more is called, wherever the thread is
    {
      const std::lock_guard lock(mutex_);
      stopping_ = true;
    }
    wake();
    if (thread_.get_id() == std::this_thread::get_id()) {
      thread_.detach();
    } else {
      thread_.join();
    }
  }

 private:
  static int received(sd_bus_message* message, void* self, sd_bus_error*) {
    const char* name = nullptr;
    // A signal of another form is somebody else's.
    if (sd_bus_message_read(message, "s", &name) >= 0) {
      static_cast<Connection*>(self)->subscriptions.call(name);
    }
    return 0;
  }

  void wake() const {
    const std::uint64_t one = 1;
    // It fails only when very many are pending, and then the thread wakes up anyway.
    static_cast<void>(::write(wake_, &one, sizeof one) == sizeof one);
  }

  void run() {
    bool connected = true;
    for (;;) {
      const bool stopping = send();
      if (stopping) break;
      const int processed = connected ? sd_bus_process(bus_.get(), nullptr) : 0;
      if (processed < 0) connected = false;
      if (processed > 0) continue;  // there may be more
      wait(connected);
    }
    awaitBus();
    bus_.reset();
  }

  /// Waits until the bus has taken what was sent. A connection that closes with something
  /// unread, as its own notifications may be, can lose what it sent last.
  void awaitBus() {
    sd_bus_call_method(bus_.get(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                       "org.freedesktop.DBus.Peer", "Ping", nullptr, nullptr, "");
  }

  /// Sends what was posted; whether it is time to end.
  bool send() {
    std::deque<std::string> posted;
    bool stopping = false;
    {
      const std::lock_guard lock(mutex_);
      posted.swap(posted_);
      stopping = stopping_;
    }
    for (const auto& name : posted) {
      const auto text = validUtf8(name);
      sd_bus_emit_signal(bus_.get(), kPath, kInterface, kSignal, "s", text.c_str());
    }
    return stopping;
  }

  /// Waits until the bus or somebody in this process has something for the thread.
  void wait(bool connected) const {
    std::array<pollfd, 2> watched{{{wake_, POLLIN, 0}, {-1, 0, 0}}};
    int limit = -1;
    if (connected) {
      std::uint64_t deadline = UINT64_MAX;
      sd_bus_get_timeout(bus_.get(), &deadline);
      limit = waitMs(deadline);
      watched[1] = {sd_bus_get_fd(bus_.get()),
                    static_cast<short>(std::max(sd_bus_get_events(bus_.get()), 0)), 0};
    }
    ::poll(watched.data(), watched.size(), limit);
    std::uint64_t count = 0;
    static_cast<void>(::read(wake_, &count, sizeof count) == sizeof count);  // nothing is fine
  }

  const int wake_;
  Bus bus_;
  std::mutex mutex_;
  std::deque<std::string> posted_;
  bool stopping_ = false;
  std::thread thread_;
};

std::unique_ptr<DBusNotificationCenter> DBusNotificationCenter::create(const std::string& address,
                                                                       std::string* error) {
  auto connection = std::make_shared<Connection>();
  if (const int result = connection->open(address); result < 0) {
    if (error) {
      *error = (address.empty() ? "no session bus: " : "no bus at " + address + ": ") +
               std::string(std::strerror(-result));
    }
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

}  // namespace vemo
