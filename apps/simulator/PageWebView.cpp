#include "simulator/PageWebView.h"

#include "json/JsonText.h"

namespace vemo {

void PageWebView::loadJs(const std::string& script, bool needLog) {
  std::string frame;
  frame.reserve(script.size() + script.size() / 4 + 64);  // scripts are full of quotes
  frame += R"({"kind":"script","text":)";
  appendJsonString(frame, script);
  frame += needLog ? R"(,"needLog":true})" : R"(,"needLog":false})";
  page_->send(std::move(frame));
}

}  // namespace vemo
