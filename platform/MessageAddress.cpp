#include "platform/MessageAddress.h"

#include <boost/json/value.hpp>
#include <charconv>

#include "json/JsonReader.h"
#include "json/JsonText.h"

namespace vemo {
namespace {

/// The text that the JSON string `quoted` stands for; nothing when it is none or too long.
Text readText(std::string_view quoted) {
  if (quoted.empty() || quoted.size() > kMaxSkimmedBytes) return std::nullopt;
  JsonProblem problem;
  const auto value = readJson(withWholePairs(validUtf8(quoted)), 1, problem);
  const auto* const text = value.if_string();
  return text ? Text(std::in_place, text->data(), text->size()) : std::nullopt;
}

/// The JSON string that begins at `at`, quotes included; to the end when it breaks off.
std::string_view quotedAt(std::string_view text, std::size_t at) {
  auto end = text.find_first_of("\"\\", at + 1);
  while (end != std::string_view::npos && text[end] == '\\') {
    end = text.find_first_of("\"\\", end + 2);
  }
  return text.substr(at, end == std::string_view::npos ? end : end + 1 - at);
}

/// Follows a message along its members.
class Skimmer {
 public:
  void enter(char bracket) {
    ++depth_;
    if (depth_ == 1) inMessage_ = bracket == '{';
    if (depth_ == 2) inHead_ = inMessage_ && bracket == '{' && value_ == &head_;
    expectsKey_ = true;
  }

  /// Whether there is more of the message.
  bool leave() {
    if (depth_ == 2) inHead_ = false;
    if (depth_ > 0) --depth_;
    return depth_ > 0;
  }

  void comma() { expectsKey_ = true; }
  void colon() { expectsKey_ = false; }

  void string(std::string_view quoted) {
    if (depth_ == 1 ? !inMessage_ : !(depth_ == 2 && inHead_)) return;
    if (expectsKey_) {
      value_ = memberOf(quoted);
      if (value_ == &head_) module_ = action_ = {};
      if (value_) *value_ = {};
    } else if (value_) {
      *value_ = quoted;
    }
  }

  MessageAddress found() const { return {readText(module_), readText(action_), readText(cbid_)}; }

 private:
  /// Where the value of the member called `quoted` goes; null when nobody asks for it.
  std::string_view* memberOf(std::string_view quoted) {
    // Names that are not escaped, which most are not, are known as they stand.
    const bool escaped = quoted.find('\\') != std::string_view::npos;
    const auto read = escaped ? readText(quoted) : std::nullopt;
    const std::string_view name = read ? *read : quoted.substr(1, quoted.size() - 2);
    if (depth_ == 1 && name == "head") return &head_;
    if (depth_ == 1 && name == "cbid") return &cbid_;
    if (depth_ == 2 && name == "module") return &module_;
    if (depth_ == 2 && name == "action") return &action_;
    return nullptr;
  }

  std::size_t depth_ = 0;
  bool inMessage_ = false;  // the outermost value is an object
  bool inHead_ = false;
  bool expectsKey_ = false;
  // Texts as they stand in the message, quotes included; empty when there is none.
  std::string_view module_;
  std::string_view action_;
  std::string_view cbid_;
  std::string_view head_;              // only to know it by: a head is no text
  std::string_view* value_ = nullptr;  // where the next value goes
};

}  // namespace

MessageAddress skimAddress(std::string_view text) {
  Skimmer skimmer;
  bool more = true;
  for (auto at = text.find_first_of("{}[],:\""); more && at != std::string_view::npos;
       at = text.find_first_of("{}[],:\"", at + 1)) {
    switch (text[at]) {
      case '{':
      case '[': skimmer.enter(text[at]); break;
      case '}':
      case ']': more = skimmer.leave(); break;
      case ',': skimmer.comma(); break;
      case ':': skimmer.colon(); break;
      default: {
        const auto quoted = quotedAt(text, at);
        skimmer.string(quoted);
        at += quoted.size() - 1;
      }
    }
  }
  return skimmer.found();
}

std::string withWholePairs(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  const auto escape = [&](std::size_t at) {  // the code unit written at `at`; 0 for none
    unsigned unit = 0;
    if (text.size() < at + 6 || text[at] != '\\' || text[at + 1] != 'u') return 0U;
    const auto* digits = text.data() + at + 2;
    return std::from_chars(digits, digits + 4, unit, 16).ptr == digits + 4 ? unit : 0U;
  };
  const auto isHigh = [](unsigned unit) { return unit >= 0xD800 && unit <= 0xDBFF; };
  const auto isLow = [](unsigned unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
  std::size_t at = 0;
  while (at < text.size()) {
    const auto unit = escape(at);
    std::size_t length = text[at] == '\\' ? 2 : 1;
    if (isHigh(unit) && isLow(escape(at + 6))) {
      length = 12;
    } else if (isHigh(unit) || isLow(unit)) {
      out += "\\ufffd";
      at += 6;
      continue;
    }
    out += text.substr(at, length);
    at += length;
  }
  return out;
}

}  // namespace vemo
