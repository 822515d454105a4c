#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "bridge/VEMOLogger.h"
#include "bridge/VEMOUIRenderSource.h"
#include "bridge/VEMOWebView.h"

namespace vemo {

/// What notes call the objects that a host makes: their addresses differ from run to run.
/// Threads: any.
class ObjectNames {
 public:
  /// Calls `view` by `name` from now on.
  void give(const NativeView& view, std::string name);

  /// The name of `view`; without one it gets "view 1", "view 2", ... in the order in which
  /// they are asked for.
  std::string nameOf(const NativeView& view);

  /// Makes the address of `webView` one that `masked` finds.
  void add(const VEMOWebView& webView);

  /// A text in three parts, so that none has to be put together.
  struct Masked {
    std::string_view first;
    std::string_view second = {};
    std::string_view third = {};
  };
  /// The action parameter of `record`, which has one, with the addresses of these objects
  /// written as 0x*; `buffer` may be used to hold it.
  Masked masked(const DUNLogParam& record, std::string& buffer) const;

 private:
  static std::uint64_t newId();
  bool has(std::uintptr_t address) const;
  std::string_view maskedWhole(const DUNLogParam& record, std::string& buffer) const;

  const std::uint64_t id_ = newId();  // of no other one of this process
  mutable std::mutex mutex_;
  std::unordered_map<std::uintptr_t, std::string> views_;
  std::unordered_set<std::uintptr_t> webViews_;
  std::size_t unnamed_ = 0;
};

}  // namespace vemo
