#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vemo::janus {

/// The servers named in `text`, an address a line; lines that are empty or begin with # count for
/// nothing, and no server twice.
std::vector<std::string> serversIn(std::string_view text);

/// Which of `servers` the room `room` is on, by rendezvous hashing: everybody with the same list,
/// in whatever order, finds the same one, and a server that is taken off the list moves its own
/// rooms only. Empty when there is none.
std::string serverOf(const std::vector<std::string>& servers, std::string_view room);

}  // namespace vemo::janus
