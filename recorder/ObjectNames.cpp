#include "recorder/ObjectNames.h"

#include <charconv>
#include <utility>

namespace vemo {
namespace {

template <class Object>
std::uintptr_t addressOf(const Object& object) {
  return reinterpret_cast<std::uintptr_t>(&object);
}

/// Only this operation of the host logs the address of a view that may be null.
bool logsNullView(const DUNLogParam& record) {
  return record.actionName && record.actionName->starts_with("startLocalPreivew");
}

}  // namespace

void ObjectNames::give(const NativeView& view, std::string name) {
  const std::lock_guard lock(mutex_);
  views_.insert_or_assign(addressOf(view), std::move(name));
}

std::string ObjectNames::nameOf(const NativeView& view) {
  const std::lock_guard lock(mutex_);
  auto& name = views_[addressOf(view)];
  if (name.empty()) name = "view " + std::to_string(++unnamed_);
  return name;
}

void ObjectNames::add(const VEMOWebView& webView) {
  const std::lock_guard lock(mutex_);
  webViews_.insert(addressOf(webView));
}

std::string_view ObjectNames::masked(const DUNLogParam& record, std::string& buffer) const {
  const auto text = *record.actionParam;
  buffer.clear();
  std::size_t from = 0;
  for (auto at = text.find("0x"); at != std::string_view::npos; at = text.find("0x", at + 2)) {
    std::uintptr_t address = 0;
    const char* const digits = text.data() + at + 2;
    const auto [end, problem] = std::from_chars(digits, text.data() + text.size(), address, 16);
    if (problem != std::errc{}) continue;
    if (address == 0 ? !logsNullView(record) : [&] {
          const std::lock_guard lock(mutex_);
          return !webViews_.contains(address) && !views_.contains(address);
        }())
      continue;
    buffer.append(text, from, at - from).append("0x*");
    from = static_cast<std::size_t>(end - text.data());
  }
  if (from == 0) return text;
  return buffer.append(text, from);
}

}  // namespace vemo
