#pragma once

#include <functional>
#include <memory>
#include <string>

#include "bridge/VEMOJSMsgItem.h"
#include "bridge/VEMOWebView.h"

namespace vemo {

/// The application's generic message router: it decodes page messages into items,
/// calls what is registered under an item's action name and delivers the replies.
/// A router for one subject, such as VEMOKOBUMsgRouter, plugs its commands into it.
///
/// Ownership: outlives the routers that are plugged in, and keeps their wrappers.
class VEMOJSMsgRouter {
 public:
  /// Called with the item and the web view that the command came from (null when
  /// there is none), on the thread that delivers the command.
  using Wrapper = std::function<void(const std::shared_ptr<VEMOJSMsgItem>& item,
                                     const std::shared_ptr<VEMOWebView>& webView)>;

  virtual ~VEMOJSMsgRouter() = default;

  /// Registers `wrapper` under the command name `action`; a name registered again
  /// replaces the earlier wrapper. Not to be called while commands are delivered.
  virtual void setMethod(const std::string& action, Wrapper wrapper) = 0;

  /// The page's web view; null when there is none. Any thread.
  virtual std::shared_ptr<VEMOWebView> webView() const = 0;
};

}  // namespace vemo
