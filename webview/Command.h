#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "bridge/VEMOJSMsgItem.h"
#include "bridge/VEMOWebView.h"
#include "json/Lookup.h"

namespace vemo {

/// One command on its way through its handler: the item, the web view it came from,
/// and its parameters as text and by typed lookup.
struct Command {
  const std::shared_ptr<VEMOJSMsgItem>& item;
  const std::shared_ptr<VEMOWebView>& webView;
  /// The params as JSON text, written once for all records of the command; "(null)"
  /// when there are none. Valid until the handler returns.
  std::string_view paramsText;

  const boost::json::object* params() const { return item->params(); }

  std::optional<Number> number(std::string_view key) const {
    return vemo_safeNSNumberForKey(params(), key);
  }

  /// The integer value under `key` when it lies from `min` to `max`, else `fallback`.
  std::int32_t int32InRange(std::string_view key, std::int32_t min, std::int32_t max,
                            std::int32_t fallback) const {
    const auto found = number(key);
    const auto value = found ? found->int32() : fallback;
    return value >= min && value <= max ? value : fallback;
  }

  /// Whether there is a number under `key` that is not zero.
  bool flag(std::string_view key) const {
    const auto found = number(key);
    return found && found->boolean();
  }

  std::optional<std::string_view> text(std::string_view key) const {
    return vemo_safeNSStringForKey(params(), key);
  }

  /// The text under `key`; nothing when it is absent or empty.
  std::optional<std::string> nonEmptyText(std::string_view key) const {
    const auto found = text(key);
    if (!found || found->empty()) return std::nullopt;
    return std::string(*found);
  }
};

}  // namespace vemo
