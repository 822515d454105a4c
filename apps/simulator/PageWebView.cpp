#include "simulator/PageWebView.h"

#include <string_view>

#include "json/JsonText.h"

namespace vemo {
namespace {

/// The event that `script` tells, if it is one that comes again and again; else empty.
std::string_view periodicEvent(std::string_view script) {
  constexpr std::size_t kBeginning = 300;  // where the head is; no function's name is so long
  const auto beginning = script.substr(0, kBeginning);
  constexpr std::string_view kHead = R"(({"head":{"module":"kobucb","action":")";
  const auto head = beginning.find(kHead);
  if (head == std::string_view::npos) return {};
  const auto event = beginning.substr(head + kHead.size());
  for (const std::string_view name : {"onNetworkQuality", "onStatistics", "onUserVoiceVolume"})
    if (event.starts_with(name) && event.substr(name.size()).starts_with('"')) return name;
  return {};
}

}  // namespace

void PageWebView::loadJs(const std::string& script, bool needLog) {
  std::string frame;
  frame.reserve(script.size() + script.size() / 4 + 64);  // scripts are full of quotes
  frame += R"({"kind":"script","text":)";
  appendJsonString(frame, script);
  frame += needLog ? R"(,"needLog":true})" : R"(,"needLog":false})";
  if (const auto event = periodicEvent(script); !event.empty()) {
    page_->sendLatest(event, std::move(frame));
  } else {
    page_->send(std::move(frame));
  }
}

}  // namespace vemo
