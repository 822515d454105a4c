#pragma once

#include <boost/json/object.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bridge/ActionNames.h"
#include "bridge/Text.h"
#include "bridge/VEMOJSMsgItem.h"
#include "bridge/VEMOJSMsgRouter.h"
#include "bridge/VEMOLogger.h"
#include "bridge/VEMOWebView.h"
#include "platform/ReplyDelivery.h"

namespace vemo {

/// The application's base router: decodes page messages, calls the wrapper of the
/// command that a message names and delivers replies.
///
/// Threads: commands are registered before any is delivered; everything else may be
/// called from any thread, by several at once. A command runs on the thread that
/// hands in its message. No lock is held while calling out.
///
/// Lifetime: items keep the delivery alive and can be answered after the router is
/// gone; the logger must outlive the router.
class JSMsgRouter final : public VEMOJSMsgRouter {
 public:
  /// Longer messages are refused, without being read whole.
  static constexpr std::size_t kMaxMessageBytes = std::size_t{1} << 20U;
  /// Messages nested deeper are refused; the message itself is the first level.
  static constexpr std::size_t kMaxMessageDepth = 32;

  /// `delivery` is not null; `webView` may be.
  JSMsgRouter(VEMOLogger& logger, std::shared_ptr<ReplyDelivery> delivery,
              std::shared_ptr<VEMOWebView> webView);

  /// An empty wrapper takes the name away.
  void setMethod(const std::string& action, Wrapper wrapper) override;
  void setMethods(const ActionNames& names, WrapperOfAll wrapper) override;

  std::shared_ptr<VEMOWebView> webView() const override;
  void setWebView(std::shared_ptr<VEMOWebView> webView) override;
  void receive(std::string_view message) override;

  /// The item of a page message. A message that can't be used (no JSON object, no
  /// text head.action, params that are neither object nor null, over a limit, broken
  /// UTF-8) is logged and gives an item that carries the error "bad message", and the
  /// action and the cbid as far as they can be read: of a message that is too long or
  /// nested too deep, those that skimAddress finds, of any other, only when it is JSON.
  /// Half a surrogate pair, which pages can write as an escape, reads as U+FFFD.
  std::shared_ptr<VEMOJSMsgItem> decode(std::string_view message);

  /// An item as decode makes it, from its parts. `params` is moved, not copied.
  std::shared_ptr<VEMOJSMsgItem> makeItem(VEMOJSMsgItemHead head,
                                          std::optional<boost::json::object> params,
                                          std::string nativecb, Text cbid);

  /// Runs the command of `item` and delivers its reply to `webView` (null for none)
  /// unless the handler marked the item as answering later. An item that carries an
  /// error already is only delivered; an unknown action is answered with an error.
  void dispatch(const std::shared_ptr<VEMOJSMsgItem>& item,
                const std::shared_ptr<VEMOWebView>& webView);

 private:
  // Looks names up by view, without making a string.
  struct NameHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const {
      return std::hash<std::string_view>{}(name);
    }
  };

  struct Methods {
    const ActionNames* names;
    WrapperOfAll wrapper;
  };

  /// False when nothing is registered under the item's action name.
  bool callMethod(const std::shared_ptr<VEMOJSMsgItem>& item,
                  const std::shared_ptr<VEMOWebView>& webView) const;

  VEMOLogger& logger_;
  const std::shared_ptr<ReplyDelivery> delivery_;
  std::vector<Methods> sharedMethods_;  // a later one's names come before an earlier one's
  // These come before all of those; an empty wrapper hides one of them.
  std::unordered_map<std::string, Wrapper, NameHash, std::equal_to<>> methods_;
  mutable std::mutex webViewMutex_;  // held for the copy alone
  std::shared_ptr<VEMOWebView> webView_;
};

}  // namespace vemo
