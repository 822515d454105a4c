#include "platform/JSMsgRouter.h"

#include <boost/json/error.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <string>
#include <utility>

#include "bridge/VEMOModule.h"
#include "json/JsonReader.h"
#include "json/JsonText.h"
#include "json/Lookup.h"
#include "platform/MessageAddress.h"

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
    delivery_->deliver(*this, cbid_, webView);
  }

 private:
  const std::shared_ptr<ReplyDelivery> delivery_;
  Text cbid_;
};

/// Takes over who the message is for and who waits for the answer; whether it names
/// an action.
bool takeAddress(const boost::json::object& message, Item& item) {
  if (const auto cbid = vemo_safeNSStringForKey(&message, "cbid")) item.setCbid(std::string(*cbid));
  const auto* head = message.if_contains("head");
  const auto* fields = head ? head->if_object() : nullptr;
  const auto action = vemo_safeNSStringForKey(fields, "action");
  const auto module = vemo_safeNSStringForKey(fields, "module");
  item.setHead({std::string(module.value_or("")), std::string(action.value_or(""))});
  return action.has_value();
}

/// Takes over what the message asks for; false when its params are of no use.
bool takeContent(boost::json::object& message, Item& item) {
  if (const auto name = vemo_safeNSStringForKey(&message, "nativecb")) {
    item.setNativecb(std::string(*name));
  }
  auto* params = message.if_contains("params");
  if (!params || params->is_null()) return true;
  auto* object = params->if_object();
  if (object) item.setParams(std::move(*object));  // same storage: no copy
  return object != nullptr;
}

/// Takes over from a message that is too long or too deep to be read who waits for the
/// answer.
void takeSkimmedAddress(std::string_view text, Item& item) {
  auto address = skimAddress(text);
  item.setCbid(std::move(address.cbid));
  item.setHead({address.module.value_or(""), address.action.value_or("")});
}

/// The message that `text` is; nothing when it is none. Of one that is too deep, `item`
/// gets the address.
std::optional<boost::json::value> readMessage(std::string_view text, Item& item,
                                              boost::json::storage_ptr storage) {
  JsonProblem problem;
  auto message = readJson(text, JSMsgRouter::kMaxMessageDepth, problem, std::move(storage));
  if (!problem.code) return message;
  if (problem.code == boost::json::error::too_deep) takeSkimmedAddress(text, item);
  return std::nullopt;
}

bool takeMessage(std::string_view text, Item& item) {
  if (text.size() > JSMsgRouter::kMaxMessageBytes) {
    takeSkimmedAddress(text, item);
    return false;
  }
  auto message = readMessage(text, item, item.arena());
  std::string mended;
  if (!message) {
    mended = withWholePairs(text);
    message = readMessage(mended, item, item.arena());
  }
  if (message) {
    auto* object = message->if_object();
    return object && takeAddress(*object, item) && takeContent(*object, item);
  }
  // Broken UTF-8: the sender may still be known, and waits.
  if (const auto readable = readMessage(validUtf8(mended), item, {})) {
    if (const auto* object = readable->if_object()) takeAddress(*object, item);
  }
  return false;
}

}  // namespace

JSMsgRouter::JSMsgRouter(VEMOLogger& logger, std::shared_ptr<ReplyDelivery> delivery,
                         std::shared_ptr<VEMOWebView> webView)
    : logger_(logger), delivery_(std::move(delivery)), webView_(std::move(webView)) {}

void JSMsgRouter::setMethod(const std::string& action, Wrapper wrapper) {
  if (wrapper) {
    methods_.insert_or_assign(action, std::move(wrapper));
  } else {
    methods_.erase(action);
  }
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
  if (takeMessage(message, *item)) return item;
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
  if (!item->msgError()) {
    const auto method = methods_.find(std::string_view(item->head().action));
    if (method == methods_.end()) {
      item->setMsgError(jsError("unknown action"));
    } else {
      method->second(item, webView);
    }
  }
  if (!item->isAsyncTask()) item->executeJSCallbackIn(webView);
}

}  // namespace vemo
