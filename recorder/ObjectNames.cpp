#include "recorder/ObjectNames.h"

#include <atomic>
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

/// Where the next "0x" is in `text`, from `from` on. The x is rarer than the nought.
std::size_t nextAddress(std::string_view text, std::size_t from) {
  for (auto at = text.find('x', from); at != std::string_view::npos; at = text.find('x', at + 1)) {
    if (at > from && text[at - 1] == '0') return at - 1;
  }
  return std::string_view::npos;
}

/// How the text of a command begins.
constexpr std::string_view kWebView = "webview(";

}  // namespace

constinit thread_local ObjectNames::Beginning ObjectNames::latest_;

std::uint64_t ObjectNames::newId() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

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

bool ObjectNames::has(std::uintptr_t address) const {
  const std::lock_guard lock(mutex_);
  return webViews_.contains(address) || views_.contains(address);
}

notes::Parts ObjectNames::maskedWhole(const DUNLogParam& record, std::string& buffer) const {
  const auto text = *record.actionParam;
  std::size_t from = 0;
  for (auto at = nextAddress(text, 0); at != std::string_view::npos;
       at = nextAddress(text, at + 2)) {
    std::uintptr_t address = 0;
    const char* const digits = text.data() + at + 2;
    const auto [end, problem] = std::from_chars(digits, text.data() + text.size(), address, 16);
    if (problem != std::errc{}) continue;
    if (address == 0 ? !logsNullView(record) : !has(address)) continue;
    const auto size = static_cast<std::size_t>(end - text.data());
    if (text.substr(0, at) == kWebView && size >= 16 && size <= 32)
      latest_ = {id_, size, at, Beginning::wordsOf(text.substr(0, size))};
    buffer.append(text, from, at - from).append("0x*");
    from = size;
  }
  if (from == 0) return {text};
  return {buffer.append(text, from)};
}

}  // namespace vemo
