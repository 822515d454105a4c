#include "recorder/NotingReplies.h"

#include <algorithm>
#include <typeinfo>
#include <utility>

#include "platform/PageMessage.h"
#include "recorder/NotingPlatform.h"

namespace vemo {
namespace {

// NOLINTNEXTLINE(cppcoreguidelines-avoid-non-const-global-variables): one of each thread
constinit thread_local NotingReplies::Receiving* innermostReceiving = nullptr;

/// Stands for the item in a slot that is being filled.
constexpr char kTaken = 0;

}  // namespace

bool namesAction(std::string_view message) {
  return readPageMessage(message).address.action.has_value();
}

NotingReplies::Receiving::Receiving(NotingReplies& replies, std::uint64_t number,
                                    std::string_view message)
    : replies_(replies), outer_(innermostReceiving), number_(number), message_(message) {
  innermostReceiving = this;
}

NotingReplies::Receiving::~Receiving() { innermostReceiving = outer_; }

NotingReplies::Receiving* NotingReplies::receivingHere() const {
  auto* receiving = innermostReceiving;
  while (receiving && &receiving->replies_ != this) receiving = receiving->outer_;
  return receiving;
}

void NotingReplies::label(const std::shared_ptr<VEMOJSMsgItem>& item, std::string label,
                          bool hasAction) {
  enter(item, {item, std::move(label), hasAction});
}

void NotingReplies::enter(const std::shared_ptr<VEMOJSMsgItem>& item, Entry entry) {
  const std::lock_guard lock(mutex_);
  if (entries_.size() >= sweepAt_) {
    std::erase_if(entries_, [](const auto& one) { return one.second.item.expired(); });
    sweepAt_ = std::max<std::size_t>(64, 2 * entries_.size());
  }
  entries_.insert_or_assign(item.get(), std::move(entry));
}

NotingReplies::Slot* NotingReplies::handling(const std::shared_ptr<VEMOJSMsgItem>& item) {
  auto* const receiving = receivingHere();
  if (!receiving) return nullptr;
  receiving->item_ = item.get();
  for (auto& slot : slots_) {
    const void* none = nullptr;
    if (!slot.item.compare_exchange_strong(none, &kTaken, std::memory_order_acquire)) continue;
    slot.number.store(receiving->number_, std::memory_order_relaxed);
    slot.item.store(item.get(), std::memory_order_release);
    return &slot;
  }
  enter(item, {item, notes::Label{receiving->number_}});
  return nullptr;
}

void NotingReplies::handled(const std::shared_ptr<VEMOJSMsgItem>& item, Slot* slot) {
  if (!slot) return;
  if (item->isAsyncTask()) {
    const auto number = slot->number.load(std::memory_order_relaxed);
    enter(item, {item, notes::Label{number}});
  }
  slot->item.store(nullptr, std::memory_order_release);
}

/// The entry of an item that is not being handled on this thread.
NotingReplies::Entry NotingReplies::entryOf(const VEMOJSMsgItem& item) {
  // An answer can come from another thread while the handler still runs.
  for (const auto& slot : slots_) {
    if (slot.item.load(std::memory_order_acquire) != &item) continue;
    const auto number = slot.number.load(std::memory_order_acquire);
    if (slot.item.load(std::memory_order_relaxed) == &item) {
      return {{}, notes::Label{number}};
    }
  }
  {
    const std::lock_guard lock(mutex_);
    const auto entry = entries_.find(&item);
    if (entry != entries_.end() && !entry->second.item.expired()) return entry->second;
  }
  // No wrapper was called: the message was refused.
  if (const auto* const here = receivingHere(); here && !here->item_) {
    return {{},
            notes::Label{here->number_},
            !item.head().action.empty() || !item.msgError() || namesAction(here->message_)};
  }
  return {{}, std::string("?")};
}

template <class Name>
void NotingReplies::note(const VEMOJSMsgItem& item, const Name& label, bool hasAction) {
  const auto& error = item.msgError();
  const auto& value = item.msgRetval();
  const auto& action = item.head().action;
  const auto reply = [&](const auto& failure) {
    notes_->effectOf("reply", notes::Member{"item", label}, notes::Member{"action", action},
                     notes::Member{"error", failure}, notes::Member{"retval", nullptr},
                     notes::Member{"printLog", item.printLog()});
  };
  if (hasAction && !value) {
    if (!error) return reply(nullptr);
    // A member whose text is not there would be left out, and a transcript says null.
    if (error->errmsg) {
      return reply(notes::Map(notes::Member{"module", error->module},
                              notes::Member{"errcode", error->errcode},
                              notes::Member{"errmsg", *error->errmsg}));
    }
  }
  notes_->effect("reply", [&](NoteWriter& text) {
    text.add("item", label).add("action", hasAction ? &action : nullptr);
    if (error) {
      text.addMap("error", [&](NoteWriter& map) {
        map.add("module", error->module).add("errcode", error->errcode);
        map.add("errmsg", error->errmsg);
      });
    } else {
      text.add("error", nullptr);
    }
    text.add("retval", value).add("printLog", item.printLog());
  });
}

void NotingReplies::deliver(const VEMOJSMsgItem& item, const Text& cbid,
                            const std::shared_ptr<VEMOWebView>& webView) {
  if (notes_->isOn()) {
    const auto* const here = receivingHere();
    if (here && here->item_ == &item) {
      note(item, notes::Label{here->number_}, true);
    } else {
      const auto entry = entryOf(item);
      std::visit([&](const auto& name) { note(item, name, entry.hasAction); }, entry.label);
    }
  }
  if (!target_) return;
  // What delivers runs a script in the page, which is no effect beside the reply.
  const auto* const page = webView.get();
  const bool isNoting = page && typeid(*page) == typeid(NotingWebView);
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-static-cast-downcast): it is of this very type
  const auto* const noting = isNoting ? static_cast<const NotingWebView*>(page) : nullptr;
  target_->deliver(item, cbid, noting ? noting->shown() : webView);
}

NotingBaseRouter::NotingBaseRouter(std::shared_ptr<Notes> notes,
                                   std::shared_ptr<NotingReplies> replies,
                                   std::unique_ptr<VEMOJSMsgRouter> target,
                                   const std::string& appGroup)
    : notes_(std::move(notes)),
      replies_(std::move(replies)),
      target_(std::move(target)),
      appGroup_(appGroup) {
  setWebView(target_->webView());
}

void NotingBaseRouter::setMethod(const std::string& action, Wrapper wrapper) {
  if (!wrapper) return target_->setMethod(action, nullptr);
  target_->setMethod(action, [replies = replies_, wrapper = std::move(wrapper)](
                                 const std::shared_ptr<VEMOJSMsgItem>& item,
                                 const std::shared_ptr<VEMOWebView>& webView) {
    auto* const slot = replies->handling(item);
    wrapper(item, webView);
    replies->handled(item, slot);
  });
}

void NotingBaseRouter::receive(std::string_view message) {
  if (!notes_->isOn()) return target_->receive(message);
  notes_->device().appGroup(appGroup_);
  const Notes::Step step(*notes_, message);
  const NotingReplies::Receiving receiving(*replies_, step.number(), message);
  target_->receive(message);
}

void NotingBaseRouter::setWebView(std::shared_ptr<VEMOWebView> webView) {
  if (!webView || dynamic_cast<const NotingWebView*>(webView.get())) {
    target_->setWebView(std::move(webView));
  } else {
    target_->setWebView(std::make_shared<NotingWebView>(notes_, std::move(webView)));
  }
}

}  // namespace vemo
