#pragma once

#include <string>

namespace vemo {

/// The view that shows the page.
///
/// Threads: loadJs may be called from any thread, by several at once; scripts
/// given by one thread run in the order in which it gave them. Ownership: held
/// in shared pointers; a null web view is one that the host has taken away.
class VEMOWebView {
 public:
  virtual ~VEMOWebView() = default;

  /// Runs `script` (UTF-8) in the page, now or later, and returns at once. A page
  /// that is gone swallows it. `needLog` says whether the web view logs the script.
  virtual void loadJs(const std::string& script, bool needLog) = 0;
};

}  // namespace vemo
