#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

#include "bridge/NotificationCenter.h"

namespace vemo {

/// What a centre tells its host of the bus.
enum class DBusNews {
  lost,     // the connection is gone, and the centre tries to get it back
  back,     // it is there again
  dropped,  // posted notifications are given up
};

struct DBusNotificationCenterOptions {
  /// A D-Bus address; empty: that of the session bus.
  std::string address = {};
  /// How long a bus may take until it has let the centre in and sends what is posted;
  /// whatever it does not answer within that is no bus.
  std::chrono::milliseconds connectLimit{5'000};
  /// How long the destructor waits for the bus to take what was posted.
  std::chrono::milliseconds endLimit{500};
  /// How many posted notifications wait for the bus at most; beyond that the oldest are
  /// dropped.
  std::size_t waitingLimit = 10'000;
  /// Is told what happens to the connection, as a sentence for an operator too. Called on
  /// the centre's thread, without a lock; it may use the centre, and destroy it.
  std::function<void(DBusNews, const std::string& sentence)> news = nullptr;
};

/// A cross-process notification centre over a D-Bus message bus: every process of the
/// session hears what any of them posts. A notification is the signal "Posted" of the
/// interface "vemo.NotificationCenter" on the path "/vemo/NotificationCenter", its one
/// argument the name, a text in UTF-8 without NUL, of 64 KiB at most: a longer one is dropped.
///
/// When the bus goes away, `news` is told, and the centre tries to reach it again at the
/// same address: after 0.1 s, then after twice as long each time, up to 5 s. Subscriptions
/// stay. What is posted meanwhile waits and is sent then, and so is what the lost
/// connection had not given back yet, which others may thus hear twice. What others post
/// meanwhile is not heard. A bus that stops without going away is waited for.
///
/// Threads: callbacks arrive on the centre's one thread, own posts included, in the
/// order in which the bus got them. Posting never waits. A removal waits for a call under
/// way on that thread (see Subscriptions).
class DBusNotificationCenter final : public CrossProcessNotificationCenter {
 public:
  /// A centre on a bus that is there. Null when there is none within `connectLimit`, and
  /// `error`, if given, then says why. What is posted anywhere after the return is heard.
  static std::unique_ptr<DBusNotificationCenter> create(DBusNotificationCenterOptions options = {},
                                                        std::string* error = nullptr);
  /// Hands what was posted here to the bus, as far as it takes it within `endLimit`; what
  /// it does not take is told as dropped. Waits for that and for a callback under way,
  /// unless it is called from a callback of the centre or from `news`, which then is told
  /// nothing more.
  ~DBusNotificationCenter() override;
  DBusNotificationCenter(const DBusNotificationCenter&) = delete;
  DBusNotificationCenter& operator=(const DBusNotificationCenter&) = delete;

  void post(const std::string& name) override;
  void addObserver(const void* observer, const std::string& name, Callback callback) override;
  void removeObserver(const void* observer, const std::string& name) override;
  void removeEveryObserver(const void* observer) override;

 private:
  class Connection;
  explicit DBusNotificationCenter(std::shared_ptr<Connection> connection);

  // Shared with its thread, which may outlive the centre by the callback that ended it.
  std::shared_ptr<Connection> connection_;
};

/// A centre on the bus that `options` name, the session bus unless they say otherwise,
/// where there is one; else one that reaches this process only, and `whyNoBus`, if given,
/// says why.
std::unique_ptr<CrossProcessNotificationCenter> makeCrossProcessCenter(
    DBusNotificationCenterOptions options = {}, std::string* whyNoBus = nullptr);

}  // namespace vemo
