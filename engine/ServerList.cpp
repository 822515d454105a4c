#include "engine/ServerList.h"

#include <algorithm>
#include <tuple>

#include "engine/LineList.h"

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
  std::vector<std::string> servers;
  for (const auto& line : listedLines(text)) {
    if (std::ranges::find(servers, line.text) == servers.end()) servers.emplace_back(line.text);
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
