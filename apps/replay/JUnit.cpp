#include "replay/JUnit.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>
#include <numeric>
#include <string_view>

#include "json/JsonText.h"

namespace vemo::replay {
namespace {

/// `text` as the content of an element or an attribute: UTF-8 without the characters that XML
/// does not know, which become U+FFFD.
std::string escaped(std::string_view text) {
  std::string out;
  const auto valid = validUtf8(text);
  for (std::size_t at = 0; at < valid.size(); ++at) {
    const char c = valid[at];
    // U+FFFE and U+FFFF are UTF-8, but no characters.
    const auto three = std::string_view(valid).substr(at, 3);
    if (three == "\xEF\xBF\xBE" || three == "\xEF\xBF\xBF") {
      out += "\xEF\xBF\xBD";
      at += 2;
    } else if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else if (c == '"') {
      out += "&quot;";
    } else if (c == '\n' || c == '\t' || c == '\r') {
      out += "&#" + std::to_string(int{c}) + ';';  // else an attribute would have a space
    } else if (static_cast<unsigned char>(c) < ' ') {
      out += "\xEF\xBF\xBD";
    } else {
      out += c;
    }
  }
  return out;
}

class Element {
 public:
  explicit Element(std::string_view name) : text_("<" + std::string(name)) {}
  Element& with(std::string_view name, std::string_view value) {
    text_ += ' ' + std::string(name) + "=\"" + escaped(value) + '"';
    return *this;
  }
  Element& with(std::string_view name, std::int64_t value) {
    return with(name, std::to_string(value));
  }
  Element& with(std::string_view name, std::chrono::duration<double> time) {
    const auto thousandths = std::chrono::duration_cast<std::chrono::milliseconds>(time).count();
    const auto rest = std::to_string(thousandths % 1000);
    return with(
        name, std::to_string(thousandths / 1000) + '.' + std::string(3 - rest.size(), '0') + rest);
  }
  std::string open() const { return text_ + ">"; }
  std::string closed() const { return text_ + "/>\n"; }

 private:
  std::string text_;
};

bool isError(const ScenarioResult& result) { return !result.error.empty(); }
bool isFailure(const ScenarioResult& result) { return !isError(result) && result.status != kDone; }

using Results = std::vector<const ScenarioResult*>;

Element& withSums(Element& element, const Results& results) {
  const auto count = [&](auto is) {
    return std::ranges::count_if(results, [&](const auto* result) { return is(*result); });
  };
  std::chrono::duration<double> time{0};
  for (const auto* result : results) time += result->time;
  return element.with("tests", std::ssize(results))
      .with("failures", count(isFailure))
      .with("errors", count(isError))
      .with("skipped", 0)
      .with("time", time);
}

std::string caseOf(const ScenarioResult& result) {
  const auto folder = result.file.parent_path().generic_string();
  Element element("testcase");
  element.with("classname", folder.empty() ? "." : folder)
      .with("name", result.file.stem().string())
      .with("file", result.file.generic_string())
      .with("time", result.time);
  if (result.status == kDone) return "    " + element.closed();
  // Readers show one trouble of a case: the error, else all failures in one.
  std::string text;
  for (const auto& failure : result.failures) text += failure + '\n';
  if (isError(result)) text += result.error + '\n';
  const std::string_view name = isError(result) ? "error" : "failure";
  Element trouble(name);
  trouble.with("message", isError(result) ? result.error : text.substr(0, text.find('\n')))
      .with("type", isError(result) ? "scenario" : "expectation");
  return "    " + element.open() + "\n      " + trouble.open() + escaped(text) + "</" +
         std::string(name) + ">\n    </testcase>\n";
}

}  // namespace

std::string junitXml(const std::vector<ScenarioResult>& results) {
  std::map<std::string, Results> folders;
  Results all;
  for (const auto& result : results) {
    folders[result.file.parent_path().generic_string()].push_back(&result);
    all.push_back(&result);
  }
  Element root("testsuites");
  root.with("name", "vemo-replay");
  std::string xml =
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" + withSums(root, all).open() + '\n';
  for (const auto& [folder, members] : folders) {
    Element suite("testsuite");
    suite.with("name", folder.empty() ? "." : folder);
    xml += "  " + withSums(suite, members).open() + '\n';
    for (const auto* member : members) xml += caseOf(*member);
    xml += "  </testsuite>\n";
  }
  return xml + "</testsuites>\n";
}

}  // namespace vemo::replay
