#include <cstddef>
#include <iostream>
#include <string>
#include <string_view>

#include "json/JsonText.h"
#include "webview/protocol.h"

// vemo-protocol: prints what pages can send and hear, as one JSON document.

namespace {

namespace json = boost::json;

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
  if (argc > 1) {
    const std::string_view argument = argv[1];
    const bool help = argument == "--help" && argc == 2;
    if (!help) std::cerr << "vemo-protocol: unexpected argument " << argument << '\n';
    (help ? std::cout : std::cerr)
        << "Usage: vemo-protocol\n"
           "Prints all commands and events as one JSON document, in the order of the router's\n"
           "tables. docs/reference/protocol.schema.json says what its members mean.\n";
    return help ? 0 : 2;
  }
  std::string out;
  print(out, vemo::protocol(), 0);
  std::cout << out << '\n' << std::flush;
  return std::cout ? 0 : 1;
}
