#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "bridge/MainQueue.h"
#include "bridge/Text.h"
#include "bridge/VEMOJSMsgItem.h"
#include "bridge/VEMOWebView.h"

namespace vemo {

/// Brings the replies of items to the page.
class ReplyDelivery {
 public:
  virtual ~ReplyDelivery() = default;

  /// Delivers the reply fields of `item` as they are now. `cbid` names the page's
  /// waiting call; absent when it waits for none. Called on the thread that answers,
  /// by several at once for different items; a null web view is one that is gone.
  /// `item` may be changed or answered again as soon as this returns.
  virtual void deliver(const VEMOJSMsgItem& item, const Text& cbid,
                       const std::shared_ptr<VEMOWebView>& webView) = 0;
};

/// Delivers by calling a function of the page, on the main thread, with the reply's
/// JSON text as its argument: `function({"head":...})`. The text is written at once;
/// on the main thread the script is also run at once, from elsewhere it is queued.
/// Without a cbid or a web view nothing is delivered.
class MainThreadReplyDelivery final : public ReplyDelivery {
 public:
  /// `mainQueue` must outlive this and every item that it may still deliver.
  MainThreadReplyDelivery(MainQueue& mainQueue, std::string replyFunction);

  void deliver(const VEMOJSMsgItem& item, const Text& cbid,
               const std::shared_ptr<VEMOWebView>& webView) override;

 private:
  MainQueue& mainQueue_;
  const std::string replyFunction_;
};

/// Appends the JSON text that the page gets as the reply of `item`: its head with
/// action and `cbid`, then its error record and its value where they are set. An
/// action that is empty is left out, an absent message is written as "".
void appendReplyJson(std::string& out, const VEMOJSMsgItem& item, std::string_view cbid);

}  // namespace vemo
