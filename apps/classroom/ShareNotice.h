#pragma once

#include <gio/gio.h>

#include <memory>

namespace vemo {

/// Tells the user through the desktop's notifications that the screen is shared, for as long as it
/// is. Main thread, save that it may be destroyed on another.
class ShareNotice : public std::enable_shared_from_this<ShareNotice> {
 public:
  /// On the session's bus; null: there is none, and nothing is told.
  explicit ShareNotice(GDBusConnection* bus);
  ~ShareNotice();
  ShareNotice(const ShareNotice&) = delete;
  ShareNotice& operator=(const ShareNotice&) = delete;

  void setShared(bool shared);

 private:
  struct Unref {
    void operator()(GDBusConnection* bus) const { g_object_unref(bus); }
  };
  void update();

  const std::unique_ptr<GDBusConnection, Unref> bus_;
  bool shared_ = false;
  bool asked_ = false;  // to be shown, and not answered yet
  guint32 id_ = 0;      // of what is shown
};

}  // namespace vemo
