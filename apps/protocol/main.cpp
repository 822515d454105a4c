#include <cstddef>
#include <iostream>
#include <span>
#include <string>
#include <string_view>

#include "json/JsonText.h"
#include "program/StandardStreams.h"
#include "webview/protocol.h"

// vemo-protocol: prints what pages can send and hear, as one JSON document.

namespace {

namespace json = boost::json;

constexpr std::string_view kUsage = R"(Usage: vemo-protocol
Prints all commands and events as one JSON document, in the order of the router's
tables. docs/reference/protocol.schema.json says what its members mean.

Options:
  --help     show this text
  --version  show the version

Exit status: 0 printed, 2 there was an argument, or what was asked for could not be written.
)";

/// What fits into a line stands in one; else each member or element has its own.
void print(std::string& out, const json::value& value, std::size_t indent) {
  constexpr std::size_t kLineLength = 160;
  const bool isObject = value.is_object();
  auto text = vemo::jsonText(value);
  if (indent + text.size() <= kLineLength || !(isObject || value.is_array())) {
    out += text;
    return;
  }
  const std::string margin(indent + 2, ' ');
  bool first = true;
  const auto begin = [&] {
    out += first ? "\n" : ",\n";
    out += margin;
    first = false;
  };
  out += isObject ? '{' : '[';
  if (isObject) {
    for (const auto& member : value.get_object()) {
      begin();
      vemo::appendJsonString(out, member.key());
      out += ": ";
      print(out, member.value(), indent + 2);
    }
  } else {
    for (const auto& element : value.get_array()) {
      begin();
      print(out, element, indent + 2);
    }
  }
  out += '\n';
  out.append(indent, ' ');
  out += isObject ? '}' : ']';
}

}  // namespace

int main(int argc, char** argv) {
  vemo::fillStandardStreams();
  for (const std::string_view argument :
       std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
    if (argument == "--help") {
      std::cout << kUsage;
      return vemo::told("vemo-protocol: ");
    }
    if (argument == "--version") {
      std::cout << "vemo-protocol " VEMO_VERSION "\n";
      return vemo::told("vemo-protocol: ");
    }
    std::cerr << "vemo-protocol: unexpected argument " << argument << '\n' << kUsage;
    return 2;
  }
  std::string out;
  print(out, vemo::protocol(), 0);
  std::cout << out << '\n';
  return vemo::told("vemo-protocol: ");
}
