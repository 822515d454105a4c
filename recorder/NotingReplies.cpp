#include "recorder/NotingReplies.h"

#include <algorithm>
#include <boost/json/error.hpp>
#include <utility>

#include "json/JsonReader.h"
#include "platform/JSMsgRouter.h"
#include "platform/MessageAddress.h"
#include "recorder/NotingPlatform.h"

namespace vemo {
namespace {

NotingReplies::Receiving*& innermostReceiving() {
  thread_local NotingReplies::Receiving* innermost = nullptr;
  return innermost;
}

}  // namespace

bool namesAction(std::string_view message) {
  JsonProblem problem;
  const auto value = readJson(message, JSMsgRouter::kMaxMessageDepth, problem);
  if (problem.code == boost::json::error::too_deep ||
      message.size() > JSMsgRouter::kMaxMessageBytes) {
    return skimAddress(message).action.has_value();
  }
  const auto* object = problem.code ? nullptr : value.if_object();
  const auto* head = object ? object->if_contains("head") : nullptr;
  const auto* fields = head ? head->if_object() : nullptr;
  const auto* action = fields ? fields->if_contains("action") : nullptr;
  return action && action->is_string();
}

NotingReplies::Receiving::Receiving(NotingReplies& replies, std::string_view label,
                                    std::string_view message)
    : replies_(replies), outer_(innermostReceiving()), label_(label), message_(message) {
  innermostReceiving() = this;
  const std::lock_guard lock(replies_.mutex_);
  replies_.receiving_.push_back(this);
}

NotingReplies::Receiving::~Receiving() {
  innermostReceiving() = outer_;
  const std::lock_guard lock(replies_.mutex_);
  std::erase(replies_.receiving_, this);
}

NotingReplies::Receiving* NotingReplies::receivingHere() const {
  auto* receiving = innermostReceiving();
  while (receiving && &receiving->replies_ != this) receiving = receiving->outer_;
  return receiving;
}

void NotingReplies::label(const std::shared_ptr<VEMOJSMsgItem>& item, std::string label,
                          bool hasAction) {
  const std::lock_guard lock(mutex_);
  enter(item, std::move(label), hasAction);
}

void NotingReplies::enter(const std::shared_ptr<VEMOJSMsgItem>& item, std::string label,
                          bool hasAction) {
  if (entries_.size() >= sweepAt_) {
    std::erase_if(entries_, [](const auto& entry) { return entry.second.item.expired(); });
    sweepAt_ = std::max<std::size_t>(64, 2 * entries_.size());
  }
  entries_.insert_or_assign(item.get(), Entry{item, std::move(label), hasAction});
}

void NotingReplies::handling(const VEMOJSMsgItem& item) {
  if (auto* const receiving = receivingHere()) {
    const std::lock_guard lock(mutex_);
    receiving->item_ = &item;
  }
}

void NotingReplies::handled(const std::shared_ptr<VEMOJSMsgItem>& item) {
  const auto* const receiving = receivingHere();
  if (!receiving || !item->isAsyncTask()) return;
  const std::lock_guard lock(mutex_);
  enter(item, std::string(receiving->label_), true);
}

NotingReplies::Entry NotingReplies::entryOf(const VEMOJSMsgItem& item) {
  const auto* const here = receivingHere();
  const std::lock_guard lock(mutex_);
  const auto isItem = [&](const Receiving* receiving) { return receiving->item_ == &item; };
  // An answer can come from another thread while the handler still runs.
  if (const auto found = std::ranges::find_if(receiving_, isItem); found != receiving_.end()) {
    return {{}, std::string((*found)->label_)};
  }
  const auto entry = entries_.find(&item);
  if (entry != entries_.end() && !entry->second.item.expired()) return entry->second;
  // No wrapper was called: the message was refused.
  if (here && !here->item_) {
    return {{},
            std::string(here->label_),
            !item.head().action.empty() || !item.msgError() || namesAction(here->message_)};
  }
  return {{}, "?"};
}

void NotingReplies::deliver(const VEMOJSMsgItem& item, const Text& cbid,
                            const std::shared_ptr<VEMOWebView>& webView) {
  if (notes_->isOn()) {
    const auto entry = entryOf(item);
    const auto* const action = entry.hasAction ? &item.head().action : nullptr;
    notes_->effect("reply", [&](NoteText& text) {
      text.add("item", entry.label).add("action", action);
      text.addWritten("error", [&](std::string& out) {
        const auto& error = item.msgError();
        if (!error) {
          out += "null";
          return;
        }
        out += R"({"module":)";
        appendJsonString(out, error->module);
        out.append(R"(,"errcode":)").append(std::to_string(error->errcode)).append(R"(,"errmsg":)");
        if (error->errmsg) {
          appendJsonString(out, *error->errmsg);
        } else {
          out += "null";
        }
        out += '}';
      });
      text.add("retval", item.msgRetval()).add("printLog", item.printLog());
    });
  }
  if (!target_) return;
  // What delivers runs a script in the page, which is no effect beside the reply.
  const auto* const noting = dynamic_cast<const NotingWebView*>(webView.get());
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
    replies->handling(*item);
    wrapper(item, webView);
    replies->handled(item);
  });
}

void NotingBaseRouter::receive(std::string_view message) {
  if (!notes_->isOn()) return target_->receive(message);
  notes_->device().appGroup(appGroup_);
  const auto label = "m" + std::to_string(++messages_);
  const Notes::Step step(notes_, Notes::Step::onMain,
                         [&](NoteText& text) { text.add("message", message).add("as", label); });
  const NotingReplies::Receiving receiving(*replies_, label, message);
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
