#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "bridge/VEMOJSMsgRouter.h"
#include "platform/ForwardingPlatform.h"
#include "platform/ReplyDelivery.h"
#include "recorder/Notes.h"

namespace vemo {

/// Whether a message that was refused names an action all the same: an empty one is read, too.
bool namesAction(std::string_view message);

/// Notes the replies of items, under the items' labels, and passes them on. Threads: any.
class NotingReplies final : public ReplyDelivery {
 public:
  /// `target`: who delivers; null for nobody.
  NotingReplies(std::shared_ptr<Notes> notes, std::shared_ptr<ReplyDelivery> target)
      : notes_(std::move(notes)), target_(std::move(target)) {}

  /// Gives `item` its label, before it is dispatched. `hasAction` is false for a message
  /// whose action can't be read.
  void label(const std::shared_ptr<VEMOJSMsgItem>& item, std::string label, bool hasAction);

  void deliver(const VEMOJSMsgItem& item, const Text& cbid,
               const std::shared_ptr<VEMOWebView>& webView) override;

  /// A message that is being received on this thread, from the making of this to its end;
  /// the item that is made of it has its label.
  class Receiving {
   public:
    Receiving(NotingReplies& replies, std::string_view label, std::string_view message);
    ~Receiving();
    Receiving(const Receiving&) = delete;
    Receiving& operator=(const Receiving&) = delete;

   private:
    friend class NotingReplies;
    NotingReplies& replies_;
    Receiving* const outer_;
    const std::string_view label_;
    const std::string_view message_;
    const VEMOJSMsgItem* item_ = nullptr;  // known when its wrapper is called
  };

  /// Around the wrapper that handles `item`.
  void handling(const VEMOJSMsgItem& item);
  void handled(const std::shared_ptr<VEMOJSMsgItem>& item);

 private:
  struct Entry {
    std::weak_ptr<const VEMOJSMsgItem> item;
    std::string label;
    bool hasAction = true;
  };

  Receiving* receivingHere() const;
  void enter(const std::shared_ptr<VEMOJSMsgItem>& item, std::string label, bool hasAction);
  Entry entryOf(const VEMOJSMsgItem& item);

  const std::shared_ptr<Notes> notes_;
  const std::shared_ptr<ReplyDelivery> target_;
  std::mutex mutex_;
  std::unordered_map<const VEMOJSMsgItem*, Entry> entries_;
  std::size_t sweepAt_ = 64;
  std::vector<const Receiving*> receiving_;  // on any thread
};

/// The base router: notes each message, and passes all on.
class NotingBaseRouter final : public VEMOJSMsgRouter {
 public:
  /// `target` delivers by `replies`; its web view is replaced by one that notes. `appGroup`
  /// is that of the platform.
  NotingBaseRouter(std::shared_ptr<Notes> notes, std::shared_ptr<NotingReplies> replies,
                   std::unique_ptr<VEMOJSMsgRouter> target, const std::string& appGroup);

  void setMethod(const std::string& action, Wrapper wrapper) override;
  void receive(std::string_view message) override;
  std::shared_ptr<VEMOWebView> webView() const override { return target_->webView(); }
  void setWebView(std::shared_ptr<VEMOWebView> webView) override;

 private:
  const std::shared_ptr<Notes> notes_;
  const std::shared_ptr<NotingReplies> replies_;
  const std::unique_ptr<VEMOJSMsgRouter> target_;
  const std::string& appGroup_;
  std::atomic<std::uint64_t> messages_ = 0;
};

}  // namespace vemo
