#include "classroom/DesktopWebView.h"

namespace vemo {

void DesktopWebView::loadJs(const std::string& script, bool /*needLog*/) {
  runOnMain(mainQueue_, [weak = weak_from_this(), script] {
    const auto self = weak.lock();
    if (!self || !self->view_) return;
    webkit_web_view_evaluate_javascript(self->view_, script.data(),
                                        static_cast<gssize>(script.size()), nullptr, nullptr,
                                        nullptr, nullptr, nullptr);
  });
}

}  // namespace vemo
