#pragma once

#include <memory>
#include <string>
#include <utility>

#include "bridge/VEMOWebView.h"
#include "simulator/PageSocket.h"

namespace vemo {

/// The web view of one connected page: scripts travel to the page, which runs them. It
/// belongs to this connection alone, so what is late for it never reaches another page.
class PageWebView final : public VEMOWebView {
 public:
  explicit PageWebView(std::shared_ptr<PageSocket> page) : page_(std::move(page)) {}

  void loadJs(const std::string& script, bool needLog) override;

 private:
  std::shared_ptr<PageSocket> page_;
};

}  // namespace vemo
