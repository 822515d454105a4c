#include "replay/LineEdit.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <vector>

namespace vemo::replay {
namespace {

/// Where a member of the outermost object stands in its line.
struct Member {
  std::string key;
  std::size_t begin;
  std::size_t value;
  std::size_t end;
};

std::size_t afterBlanks(std::string_view line, std::size_t at) {
  return std::min(line.find_first_not_of(" \t\r\n", at), line.size());
}

/// Behind the text that begins with the quote at `at`.
std::size_t afterText(std::string_view line, std::size_t at) {
  for (++at; at < line.size() && line[at] != '"'; ++at) {
    if (line[at] == '\\') ++at;
  }
  return at + 1;
}

/// Behind the value at `at`.
std::size_t afterValue(std::string_view line, std::size_t at) {
  std::size_t open = 0;
  while (true) {
    const char c = line[at];
    if (c == '"') {
      at = afterText(line, at);
    } else {
      if (c == '{' || c == '[') ++open;
      if (c == '}' || c == ']') --open;
      ++at;
    }
    if (at >= line.size()) return at;
    if (open == 0 && line.substr(at).find_first_of(",}] \t\r\n") == 0) return at;
  }
}

std::vector<Member> membersOf(std::string_view line) {
  std::vector<Member> members;
  auto at = afterBlanks(line, line.find('{') + 1);
  while (at < line.size() && line[at] == '"') {
    const auto begin = at;
    at = afterText(line, at);
    const auto key = line.substr(begin, at - begin);
    const auto value = afterBlanks(line, afterBlanks(line, at) + 1);  // behind the colon
    const auto end = afterValue(line, value);
    members.push_back({std::string(boost::json::parse({key.data(), key.size()}).get_string()),
                       begin, value, end});
    at = afterBlanks(line, afterBlanks(line, end) + 1);  // behind the comma, if there is one
  }
  return members;
}

/// The last member with this key, which is the one that counts.
auto memberOf(const std::vector<Member>& members, std::string_view key) {
  return std::find_if(members.rbegin(), members.rend(),
                      [&](const auto& member) { return member.key == key; });
}

}  // namespace

std::string withMember(std::string_view line, std::string_view key, std::string_view json) {
  const auto members = membersOf(line);
  const auto member = memberOf(members, key);
  std::string result(line);
  if (member != members.rend()) {
    return result.replace(member->value, member->end - member->value, json);
  }
  const auto at = members.empty() ? line.find('{') + 1 : members.back().end;
  return result.insert(
      at, (members.empty() ? "\"" : ",\"") + std::string(key) + "\":" + std::string(json));
}

std::string withoutMember(std::string_view line, std::string_view key) {
  const auto members = membersOf(line);
  const auto member = memberOf(members, key);
  std::string result(line);
  if (member == members.rend()) return result;
  const auto index = static_cast<std::size_t>(&*member - members.data());
  const auto begin = index > 0 ? members[index - 1].end : member->begin;
  const auto end = index > 0 || members.size() == 1 ? member->end : members[1].begin;
  return result.erase(begin, end - begin);
}

}  // namespace vemo::replay
