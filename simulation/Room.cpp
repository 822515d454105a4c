#include "simulation/Room.h"

#include <algorithm>

#include "simulation/Client.h"
#include "simulation/World.h"

namespace vemo {

std::shared_ptr<Client> Room::find(const std::string& userId) const {
  const auto found = std::find_if(members.begin(), members.end(),
                                  [&](const auto& member) { return member->userId() == userId; });
  return found == members.end() ? nullptr : *found;
}

void Room::announce(const Client& publisher, const Presence& shown, std::int64_t reason,
                    std::chrono::milliseconds after) const {
  const auto number = ++publisher.world().announcements;
  for (const auto& member : members) {
    if (member.get() == &publisher) continue;
    member->later(after + publisher.network().delay + member->network().delay,
                  [userId = publisher.userId(), shown, number, reason,
                   visit = member->visit](Client& viewer) {
                    if (viewer.visit == visit) viewer.learn(userId, shown, number, reason);
                  });
  }
}

}  // namespace vemo
