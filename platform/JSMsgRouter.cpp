#include "platform/JSMsgRouter.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <ranges>
#include <string>
#include <utility>

#include "bridge/VEMOModule.h"
#include "json/JsonText.h"
#include "platform/PageMessage.h"

namespace vemo {
namespace {

constexpr std::int64_t kBadCommand = -1;
constexpr std::string_view kBadMessage = "bad message";
constexpr std::size_t kLoggedBytes = 200;

VEMOJSError jsError(std::string_view message) {
  return {std::string(moduleText(VEMOModule::JS)), kBadCommand, std::string(message)};
}

class Item final : public VEMOJSMsgItem {
 public:
  explicit Item(std::shared_ptr<ReplyDelivery> delivery) : delivery_(std::move(delivery)) {}

  void setCbid(Text cbid) { cbid_ = std::move(cbid); }

  void executeJSCallbackIn(const std::shared_ptr<VEMOWebView>& webView) override {
    try {
      delivery_->deliver(*this, cbid_, webView);
    } catch (const std::bad_alloc&) {
      // Somebody waits, and there may be room for less.
      VEMOJSMsgItem shortAnswer(head());
      shortAnswer.setMsgError(jsError(kOutOfMemoryForAnswer));
      delivery_->deliver(shortAnswer, cbid_, webView);
    }
  }

 private:
  const std::shared_ptr<ReplyDelivery> delivery_;
  Text cbid_;
};

}  // namespace

JSMsgRouter::JSMsgRouter(VEMOLogger& logger, std::shared_ptr<ReplyDelivery> delivery,
                         std::shared_ptr<VEMOWebView> webView)
    : logger_(logger), delivery_(std::move(delivery)), webView_(std::move(webView)) {}

void JSMsgRouter::setMethod(const std::string& action, Wrapper wrapper) {
  const auto isShared = std::ranges::any_of(sharedMethods_, [&](const Methods& methods) {
    return methods.names->find(action).has_value();
  });
  if (wrapper || isShared) {
    methods_.insert_or_assign(action, std::move(wrapper));
  } else {
    methods_.erase(action);
  }
}

void JSMsgRouter::setMethods(const ActionNames& names, WrapperOfAll wrapper) {
  sharedMethods_.reserve(sharedMethods_.size() + 1);  // what may fail, before anything is done
  std::erase_if(methods_, [&](const auto& method) { return names.find(method.first).has_value(); });
  std::erase_if(sharedMethods_, [&](const Methods& earlier) { return earlier.names == &names; });
  sharedMethods_.push_back({&names, std::move(wrapper)});
}

bool JSMsgRouter::callMethod(const std::shared_ptr<VEMOJSMsgItem>& item,
                             const std::shared_ptr<VEMOWebView>& webView) const {
  const std::string_view action = item->head().action;
  if (!methods_.empty()) {
    if (const auto method = methods_.find(action); method != methods_.end()) {
      if (method->second) method->second(item, webView);
      return static_cast<bool>(method->second);
    }
  }
  return std::ranges::any_of(std::views::reverse(sharedMethods_), [&](const Methods& methods) {
    const auto place = methods.names->find(action);
    if (place) methods.wrapper(*place, item, webView);
    return place.has_value();
  });
}

std::shared_ptr<VEMOWebView> JSMsgRouter::webView() const {
  const std::lock_guard lock(webViewMutex_);
  return webView_;
}

void JSMsgRouter::setWebView(std::shared_ptr<VEMOWebView> webView) {
  {
    const std::lock_guard lock(webViewMutex_);
    webView_.swap(webView);
  }
  // The former one, if this was its last holder, goes here, without the lock.
}

void JSMsgRouter::receive(std::string_view message) { dispatch(decode(message), webView()); }

std::shared_ptr<VEMOJSMsgItem> JSMsgRouter::decode(std::string_view message) {
  auto item = std::make_shared<Item>(delivery_);
  auto page = readPageMessage(message, item->arena());
  auto& [module, action, cbid] = page.address;
  item->setHead({std::move(module).value_or(""), std::move(action).value_or("")});
  item->setCbid(std::move(cbid));
  if (page.isUsable) {
    if (page.nativecb) item->setNativecb(*std::move(page.nativecb));
    if (page.params) item->setParams(*std::move(page.params));  // same storage: no copy
    return item;
  }
  item->setMsgError(jsError(kBadMessage));
  const auto start = validUtf8(message.substr(0, kLoggedBytes));
  DUNLogParam record;
  record.needReport = true;
  record.level = DUNLogParam::kFailure;
  record.module = "VEMOJSMsgRouter";
  record.actionName = "badMessage";
  record.actionParam = start;
  record.errorCode = kBadCommand;
  record.errorDesc = kBadMessage;
  logger_.log(record);
  return item;
}

std::shared_ptr<VEMOJSMsgItem> JSMsgRouter::makeItem(VEMOJSMsgItemHead head,
                                                     std::optional<boost::json::object> params,
                                                     std::string nativecb, Text cbid) {
  auto item = std::make_shared<Item>(delivery_);
  item->setHead(std::move(head));
  if (params) item->setParams(std::move(*params));
  item->setNativecb(std::move(nativecb));
  item->setCbid(std::move(cbid));
  return item;
}

void JSMsgRouter::dispatch(const std::shared_ptr<VEMOJSMsgItem>& item,
                           const std::shared_ptr<VEMOWebView>& webView) {
  if (!item->msgError() && !callMethod(item, webView)) {
    item->setMsgError(jsError("unknown action"));
  }
  if (!item->isAsyncTask()) item->executeJSCallbackIn(webView);
}

}  // namespace vemo
