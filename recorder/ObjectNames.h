#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "bridge/VEMOLogger.h"
#include "bridge/VEMOUIRenderSource.h"
#include "bridge/VEMOWebView.h"

namespace vemo {

namespace notes {

/// A text in three parts, so that none has to be put together.
struct Parts {
  std::string_view first;
  std::string_view second = {};
  std::string_view third = {};

  std::size_t size() const { return first.size() + second.size() + third.size(); }
};

}  // namespace notes

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

  /// The action parameter of `record`, which has one, with the addresses of these objects
  /// written as 0x*; `buffer` may be used to hold it.
  notes::Parts masked(const DUNLogParam& record, std::string& buffer) const {
    const auto text = *record.actionParam;
    if (!latest_.isAt(id_, text)) return maskedWhole(record, buffer);
    return {text.substr(0, latest_.address), "0x*", text.substr(latest_.size)};
  }

 private:
  /// How a text of a command begins, up to the end of the web view's address, as this thread met it
  /// last: what stands behind that came from the page, which knows no address.
  struct Beginning {
    std::uint64_t names = 0;
    std::size_t size = 0;
    std::size_t address = 0;               // where it begins
    std::array<std::uint64_t, 4> words{};  // of the text: the first two, and the last two

    /// Of a text of 16 characters at least.
    static std::array<std::uint64_t, 4> wordsOf(std::string_view text) {
      std::array<std::uint64_t, 4> words;
      std::memcpy(words.data(), text.data(), 16);
      std::memcpy(words.data() + 2, text.data() + text.size() - 16, 16);
      return words;
    }
    bool isAt(std::uint64_t id, std::string_view text) const {
      return names == id && text.size() > size && text[size] == ')' &&
             wordsOf(text.substr(0, size)) == words;
    }
  };
  static constinit thread_local Beginning latest_;

  static std::uint64_t newId();
  bool has(std::uintptr_t address) const;
  notes::Parts maskedWhole(const DUNLogParam& record, std::string& buffer) const;

  const std::uint64_t id_ = newId();  // of no other one of this process
  mutable std::mutex mutex_;
  std::unordered_map<std::uintptr_t, std::string> views_;
  std::unordered_set<std::uintptr_t> webViews_;
  std::size_t unnamed_ = 0;
};

}  // namespace vemo
