#pragma once

#include <gio/gio.h>
#include <gio/gunixfdlist.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "engine/EngineThread.h"

namespace vemo::janus {

struct VariantUnref {
  void operator()(GVariant* value) const { g_variant_unref(value); }
};
using Variant = std::unique_ptr<GVariant, VariantUnref>;

/// One of the desktop's portals (org.freedesktop.portal.Desktop), asked on a connection to the bus
/// of its own, so that whatever happens, the portal ends what it was asked for when that ends. Held
/// by a shared pointer, which the listener may let go of. Engine thread.
class Portal : public std::enable_shared_from_this<Portal> {
 public:
  struct Settings {
    std::string bus;                          ///< address; empty: the session's
    std::chrono::milliseconds answerTimeout;  ///< of the bus and the portal
  };
  struct Names {
    const char* interface;  ///< org.freedesktop.portal.ScreenCast
    std::string spoken;     ///< "screencast portal"
  };
  struct Listener {
    /// It is there, with these properties (a{sv}).
    std::function<void(GVariant* properties)> onReady;
    /// There is none, it does not answer, refuses or went away; or the user did not allow what was
    /// requested. The last that is heard.
    std::function<void(const std::string& why, bool byUser)> onFailed;
    /// A session (org.freedesktop.portal.Session) was closed at the desktop.
    std::function<void(const std::string& session)> onSessionClosed{};
  };
  using Answered = std::function<void(GVariant* answer, GUnixFDList* descriptors)>;
  using Responded = std::function<void(GVariant* results)>;
  /// Of a request, by their names. Floating values are taken.
  using Options = std::vector<std::pair<const char*, GVariant*>>;

  Portal(EngineThread& thread, Settings settings, Names names, Listener listener);
  ~Portal();
  Portal(const Portal&) = delete;
  Portal& operator=(const Portal&) = delete;

  /// Looks for it; the listener hears of it later.
  void begin();
  /// Calls a method of the interface. `descriptors` may be null.
  void call(const char* method, GVariant* parameters, Answered answered);
  /// Calls a method whose answer is a request, and is told its results once that is responded to,
  /// which takes no longer than an answer. One request at a time.
  void request(const char* method, const std::vector<GVariant*>& arguments, Options options,
               Responded responded);
  /// The same where the user is asked, who has `patience`; it fails with `otherwise` after that.
  void requestOfUser(const char* method, const std::vector<GVariant*>& arguments, Options options,
                     std::chrono::milliseconds patience, const std::string& otherwise,
                     Responded responded);
  /// Takes back the request that is not responded to, and with it the dialog.
  void withdraw();
  void closeSession(const std::string& session) const;
  /// Withdraws, and ends the connection behind what was sent. Nothing is heard any more.
  void end();

 private:
  struct BusUnref {
    void operator()(GDBusConnection* held) const { g_object_unref(held); }
  };
  using Bus = std::unique_ptr<GDBusConnection, BusUnref>;
  using Weak = std::weak_ptr<Portal>;

  void adopt(Bus made);
  /// Tells of it, and ends.
  void fail(const std::string& why, bool byUser = false);
  void callOn(const char* interface, const char* method, GVariant* parameters,
              const std::string& prefix, Answered answered);
  void response(const std::string& object, std::uint32_t code, GVariant* results);
  void signal(const char* object, const std::string& name, GVariant* parameters);
  void subscribe(const char* sender, const char* interface, const char* name, const char* argument);
  void expectWithin(std::chrono::milliseconds patience, const std::string& otherwise);
  /// Without waiting for an answer.
  void send(const std::string& object, const char* interface, const char* method) const;
  std::string silence() const { return "the " + names_.spoken + " does not answer"; }

  EngineThread& thread_;
  const Settings settings_;
  const Names names_;
  const Listener listener_;
  bool hasEnded_ = false;
  Bus bus_;
  gulong closedHandler_ = 0;
  std::vector<guint> subscriptions_;
  int requests_ = 0;
  std::string requested_;  // the object of the request that is not responded to
  Responded responded_;
  EngineThread::Timer deadline_;
};

}  // namespace vemo::janus
