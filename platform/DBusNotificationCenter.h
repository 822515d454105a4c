#pragma once

#include <memory>
#include <string>

#include "bridge/NotificationCenter.h"

namespace vemo {

/// A cross-process notification centre over a D-Bus message bus: every process of the
/// session hears what any of them posts. A notification is the signal "Posted" of the
/// interface "vemo.NotificationCenter" on the path "/vemo/NotificationCenter", its one
/// argument the name, a text in UTF-8 without NUL.
///
/// Threads: callbacks arrive on the centre's one thread, own posts included, in the
/// order in which the bus got them. When the bus goes away nothing arrives any more.
class DBusNotificationCenter final : public CrossProcessNotificationCenter {
 public:
  /// A centre on the bus at `address`, a D-Bus address; empty: the session bus. Null
  /// when there is no such bus, and `error`, if given, then says why. What is posted
  /// anywhere after the return is heard.
  static std::unique_ptr<DBusNotificationCenter> create(const std::string& address = {},
                                                        std::string* error = nullptr);
  /// Hands what was posted here to the bus, and waits for that and for a callback under
  /// way, unless it is called from that very callback.
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

}  // namespace vemo
