#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>

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

  /// A message that is being received on this thread, from the making of this to its end; the
  /// item that is made of it is labelled by `number`.
  class Receiving {
   public:
    Receiving(NotingReplies& replies, std::uint64_t number, std::string_view message);
    ~Receiving();
    Receiving(const Receiving&) = delete;
    Receiving& operator=(const Receiving&) = delete;

   private:
    friend class NotingReplies;
    NotingReplies& replies_;
    Receiving* const outer_;
    const std::uint64_t number_;
    const std::string_view message_;
    const VEMOJSMsgItem* item_ = nullptr;  // known when its wrapper is called
  };

  /// Around the wrapper that handles an item: `handled` is given what `handling` gave.
  struct Slot;
  Slot* handling(const std::shared_ptr<VEMOJSMsgItem>& item);
  void handled(const std::shared_ptr<VEMOJSMsgItem>& item, Slot* slot);

  /// An item that is being handled, where an answer from another thread finds its number.
  struct Slot {
    std::atomic<const void*> item = nullptr;
    std::atomic<std::uint64_t> number = 0;
  };

 private:
  struct Entry {
    std::weak_ptr<const VEMOJSMsgItem> item;
    /// As it was given, or that of a message's step.
    std::variant<notes::Label, std::string> label;
    bool hasAction = true;
  };

  Receiving* receivingHere() const;
  Entry entryOf(const VEMOJSMsgItem& item);
  void enter(const std::shared_ptr<VEMOJSMsgItem>& item, Entry entry);
  template <class Name>
  void note(const VEMOJSMsgItem& item, const Name& label, bool hasAction);

  const std::shared_ptr<Notes> notes_;
  const std::shared_ptr<ReplyDelivery> target_;
  std::array<Slot, 16> slots_;
  std::mutex mutex_;
  std::unordered_map<const VEMOJSMsgItem*, Entry> entries_;  // of items that are answered later
  std::size_t sweepAt_ = 64;
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
};

}  // namespace vemo
