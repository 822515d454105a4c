#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vemo {

class Client;

/// What a user shows to the others in its room.
struct Presence {
  bool visible = false;  ///< in the room as anchor; without that nothing else is
  bool audio = false;
  bool video = false;
  bool subStream = false;

  friend bool operator==(const Presence&, const Presence&) = default;
};

/// An application and a number.
using RoomKey = std::pair<std::uint32_t, std::uint32_t>;

/// A room as the cloud sees it. Part of the world: used with its lock held.
struct Room {
  RoomKey key;
  std::vector<std::shared_ptr<Client>> members;  // in order of entering

  std::shared_ptr<Client> find(const std::string& userId) const;

  /// Tells the other members, `after` a time and as fast as the network allows, what
  /// `publisher` shows; `reason` is that of a leave.
  void announce(const Client& publisher, const Presence& shown, std::int64_t reason,
                std::chrono::milliseconds after = {}) const;
};

}  // namespace vemo
