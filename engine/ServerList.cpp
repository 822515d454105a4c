#include "engine/ServerList.h"

#include <algorithm>
#include <tuple>

namespace vemo::janus {
namespace {

/// FNV-1a, and a last mixing step, without which similar names would come out in a row. All
/// members of a class have to agree on it, so it is no library's own affair.
std::uint64_t hashOf(std::string_view server, std::string_view room) {
  constexpr std::uint64_t kBasis = 14695981039346656037ULL;
  constexpr std::uint64_t kPrime = 1099511628211ULL;
  std::uint64_t hash = kBasis;
  const auto add = [&hash](std::string_view text) {
    for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * kPrime;
  };
  add(server);
  add("\n");
  add(room);
  hash = (hash ^ (hash >> 33U)) * 0xff51afd7ed558ccdULL;
  hash = (hash ^ (hash >> 33U)) * 0xc4ceb9fe1a85ec53ULL;
  return hash ^ (hash >> 33U);
}

}  // namespace

std::vector<std::string> serversIn(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r";
  std::vector<std::string> servers;
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size());
    auto line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    line = line.substr(0, line.find_last_not_of(kBlanks) + 1);
    if (line.empty() || line.front() == '#') continue;
    if (std::find(servers.begin(), servers.end(), line) == servers.end()) {
      servers.emplace_back(line);
    }
  }
  return servers;
}

std::string serverOf(const std::vector<std::string>& servers, std::string_view room) {
  const auto best = std::max_element(
      servers.begin(), servers.end(), [room](const std::string& left, const std::string& right) {
        return std::tuple(hashOf(left, room), std::string_view(left)) <
               std::tuple(hashOf(right, room), std::string_view(right));
      });
  return best == servers.end() ? std::string() : *best;
}

}  // namespace vemo::janus
