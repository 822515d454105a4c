#pragma once

#include <functional>
#include <string>

namespace vemo {

/// Posted each time the engine has reported the end of an enter, success or failure.
inline constexpr const char* VEMOEnterClassRoomCompleteNotify = "VEMOEnterClassRoomCompleteNotify";
/// Posted when a page's "exitRoom" is accepted, before the engine is asked to leave.
inline constexpr const char* VEMOStartExitClassRoomNotify = "VEMOStartExitClassRoomNotify";

/// Notifications inside the process, by name, without object or user info.
///
/// Threads: any. Observers are called on the posting thread, inside post, in the
/// order in which they subscribed; no lock is held during the call, so an observer
/// may post, subscribe and unsubscribe. Observers are identified by address, which
/// is never dereferenced.
class NotificationCenter {
 public:
  using Callback = std::function<void(const std::string& name)>;

  virtual ~NotificationCenter() = default;

  /// Calls every observer of `name`, then returns.
  virtual void post(const std::string& name) = 0;

  /// Adds a subscription of `observer` to `name`; the centre holds `callback` until it ends.
  virtual void addObserver(const void* observer, const std::string& name, Callback callback) = 0;

  /// Ends every subscription of `observer`; a call already under way still finishes, and
  /// a centre may wait for one on another thread, save inside a callback.
  virtual void removeEveryObserver(const void* observer) = 0;
};

/// Notifications between processes, by name alone: the broadcast extension posts
/// them from its own process.
///
/// Threads: operations from any; callbacks arrive on a thread of the centre's own
/// choice, one at a time in the order of posting, with no lock held, and at once,
/// whatever state the application is in. An observer is identified by address,
/// which is never dereferenced: a callback must look after its observer's life.
class CrossProcessNotificationCenter {
 public:
  using Callback = std::function<void(const std::string& name)>;

  virtual ~CrossProcessNotificationCenter() = default;

  /// Hands `name` to the observers in every process and returns at once.
  virtual void post(const std::string& name) = 0;

  /// Adds a subscription of `observer` to `name`; twice added, twice called. The centre holds
  /// `callback` until it ends.
  virtual void addObserver(const void* observer, const std::string& name, Callback callback) = 0;

  /// Ends the subscriptions of `observer` to `name`, as removeEveryObserver does; none
  /// is no error.
  virtual void removeObserver(const void* observer, const std::string& name) = 0;

  /// Ends every subscription of `observer`. A call already under way on another
  /// thread still finishes, and a centre may wait for that, save inside a callback; none
  /// begins after the return. So call it with nothing held that a callback waits for.
  virtual void removeEveryObserver(const void* observer) = 0;
};

}  // namespace vemo
