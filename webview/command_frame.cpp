#include <initializer_list>
#include <new>

#include "json/JsonText.h"
#include "webview/TextForms.h"
#include "webview/command_table.h"

// The frame that every command runs in: its record, its guard, and what becomes of a failure.

namespace vemo {

void VEMOKOBUMsgRouter::registRouter() {
  base_->setMethods(
      CommandTable::names(), weakly([](VEMOKOBUMsgRouter& router, std::size_t place,
                                       const ItemPtr& item, const WebViewPtr& webView) {
        try {
          CommandTable::run(router, CommandTable::rows()[place], item, webView);
        } catch (const std::bad_alloc&) {
          // What handlers do they do at their end, with memory that they have got before.
          item->setIsAsyncTask(false);
          item->setMsgError(
              {std::string(moduleText(VEMOModule::JS)), -1, std::string(kOutOfMemory)});
          throw;  // to the record
        }
      }));
}

void CommandTable::run(Router& router, const Row& row, const std::shared_ptr<VEMOJSMsgItem>& item,
                       const std::shared_ptr<VEMOWebView>& webView) {
  if (row.logging == Logging::none) {
    row.action.run(router, row, Call(item, webView, {}));
    return;
  }
  if (row.logging == Logging::announced) {
    router.platform_.systemLog.writeLine(std::string(row.name) + "::::::");
  }
  std::string entry;
  entry.reserve(256);  // most records need one allocation
  if (webView) entry.append("webview(").append(addressText(webView.get())).append(") : ");
  const auto paramsStart = entry.size();
  if (item->params()) {
    appendJsonText(entry, *item->params());
  } else {
    entry += "{}";
  }
  constexpr std::string_view wrapperName = "-[VEMOKOBUMsgRouter registRouter]_wrapper";
  if (!webView) {
    router.logRouter(DUNLogParam::kInformation, row.name, entry,
                     Router::Result{kBadParameter, "webview is null"},
                     Router::Site(wrapperName, row.placeOf(Row::kNoWebView)));
    return;
  }
  router.logRouter(DUNLogParam::kInformation, row.name, entry, std::nullopt,
                   Router::Site(wrapperName, row.placeOf()));

  const auto paramsText =
      item->params() ? std::string_view(entry).substr(paramsStart) : std::string_view("(null)");
  const Call call(item, webView, paramsText);
  if (const auto failure = row.action.run(router, row, call)) failed(router, row, call, *failure);
}

void CommandTable::failed(Router& router, const Row& row, const Call& call,
                          const Failure& failure) {
  call.setError(failure.module, failure.code, std::string(failure.message));
  const auto joined = [](std::initializer_list<std::string_view> parts) {
    std::string text;
    text.reserve(80);  // one allocation for the longest name
    for (const auto part : parts) text += part;
    return text;
  };
  const auto actionName =
      failure.actionName.empty() ? joined({row.name, "Failed"}) : std::string(failure.actionName);
  const auto funcName = joined({"-[VEMOKOBUMsgRouter ", row.name, ":webView:]"});
  router.logRouter(DUNLogParam::kFailure, actionName, call.paramsText,
                   Router::Result{failure.code, failure.message},
                   Router::Site(funcName, failure.place));
}

}  // namespace vemo
