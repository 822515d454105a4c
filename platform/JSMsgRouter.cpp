#include "platform/JSMsgRouter.h"

#include <array>
#include <boost/json/parser.hpp>
#include <boost/json/value.hpp>
#include <charconv>
#include <cstddef>
#include <string>
#include <utility>

#include "bridge/VEMOModule.h"
#include "json/JsonText.h"
#include "json/Lookup.h"

namespace vemo {
namespace {

constexpr std::int64_t kBadCommand = -1;
constexpr std::string_view kBadMessage = "bad message";
constexpr std::size_t kLoggedBytes = 200;
// A message refused for its depth is read this far down, so that its sender is
// answered; the parser needs stack for each level.
constexpr std::size_t kReadableDepth = 256;

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

/// `text` with each escape of half a surrogate pair replaced by that of U+FFFD. Pages
/// write such halves for a text cut inside an emoji, and the parser refuses them.
std::string withWholePairs(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  const auto escape = [&](std::size_t at) {  // the code unit written at `at`; 0 for none
    unsigned unit = 0;
    if (text.size() < at + 6 || text[at] != '\\' || text[at + 1] != 'u') return 0U;
    const auto* digits = text.data() + at + 2;
    return std::from_chars(digits, digits + 4, unit, 16).ptr == digits + 4 ? unit : 0U;
  };
  const auto isHigh = [](unsigned unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
  const auto isLow = [](unsigned unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
  std::size_t at = 0;
  while (at < text.size()) {
    const auto unit = escape(at);
    std::size_t length = text[at] == '\\' ? 2 : 1;
    if (isHigh(unit) && isLow(escape(at + 6))) {
      length = 12;
    } else if (isHigh(unit) || isLow(unit)) {
      out += "\\ufffd";
      at += 6;
      continue;
    }
    out += text.substr(at, length);
    at += length;
  }
  return out;
}

/// The JSON value in `text`, in memory of `storage`; nothing when it is no JSON.
std::optional<boost::json::value> parsed(std::string_view text, std::size_t maxDepth,
                                         boost::json::storage_ptr storage) {
  boost::json::parse_options options;
  options.max_depth = maxDepth;
  std::array<unsigned char, 4096> temporary;
  boost::json::parser parser({}, options, temporary.data(), temporary.size());
  parser.reset(std::move(storage));
  boost::json::error_code problem;
  parser.write(text.data(), text.size(), problem);
  if (problem) return std::nullopt;
  return parser.release();
}

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

bool takeMessage(std::string_view text, Item& item) {
  if (text.size() > JSMsgRouter::kMaxMessageBytes) return false;
  auto message = parsed(text, JSMsgRouter::kMaxMessageDepth, item.arena());
  std::string mended;
  if (!message) {
    mended = withWholePairs(text);
    message = parsed(mended, JSMsgRouter::kMaxMessageDepth, item.arena());
  }
  if (message) {
    auto* object = message->if_object();
    return object && takeAddress(*object, item) && takeContent(*object, item);
  }
  // Too deep, or broken UTF-8: the sender may still be known, and waits.
  if (const auto readable = parsed(validUtf8(mended), kReadableDepth, {})) {
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
