#include "platform/ReplyDelivery.h"

#include <utility>

#include "json/JsonText.h"

namespace vemo {
namespace {

void appendError(std::string& out, const VEMOJSError& error) {
  out += ",\"error\":{\"module\":";
  appendJsonString(out, error.module);
  out += ",\"errcode\":";
  appendJsonInteger(out, error.errcode);
  out += ",\"errmsg\":";
  appendJsonString(out, error.errmsg ? std::string_view(*error.errmsg) : std::string_view());
  out += '}';
}

}  // namespace

void appendReplyJson(std::string& out, const VEMOJSMsgItem& item, std::string_view cbid) {
  out += R"({"head":{"module":"kobu")";
  if (!item.head().action.empty()) {
    out += ",\"action\":";
    appendJsonString(out, item.head().action);
  }
  out += ",\"cbid\":";
  appendJsonString(out, cbid);
  out += '}';
  if (item.msgError()) appendError(out, *item.msgError());
  if (item.msgRetval()) {
    out += ",\"retval\":";
    appendJsonText(out, *item.msgRetval());
  }
  out += '}';
}

MainThreadReplyDelivery::MainThreadReplyDelivery(MainQueue& mainQueue, std::string replyFunction)
    : mainQueue_(mainQueue), replyFunction_(std::move(replyFunction)) {}

void MainThreadReplyDelivery::deliver(const VEMOJSMsgItem& item, const Text& cbid,
                                      const std::shared_ptr<VEMOWebView>& webView) {
  if (!cbid || !webView) return;
  auto script =
      callScript(replyFunction_, [&](std::string& text) { appendReplyJson(text, item, *cbid); });
  runOnMain(mainQueue_, [webView, script = std::move(script), needLog = item.printLog()] {
    webView->loadJs(script, needLog);
  });
}

}  // namespace vemo
