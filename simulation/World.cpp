#include "simulation/World.h"

#include <algorithm>

#include "bridge/EngineCodes.h"
#include "simulation/Client.h"

namespace vemo {
namespace {

CloudOptions completed(CloudOptions options) {
  if (!options.clock) options.clock = std::make_shared<RealClock>();
  return options;
}

/// Well mixed bits of `bits`.
std::uint64_t mixed(std::uint64_t bits) {
  bits += 0x9e3779b97f4a7c15U;
  bits = (bits ^ (bits >> 30U)) * 0xbf58476d1ce4e5b9U;
  bits = (bits ^ (bits >> 27U)) * 0x94d049bb133111ebU;
  return bits ^ (bits >> 31U);
}

}  // namespace

World::World(CloudOptions options)
    : options_(completed(std::move(options))), random_(options_.seed), queue_(options_.clock) {}

World::~World() { close(); }

void World::close() {
  {
    const Guard guard(*this);
    for (auto& [key, room] : rooms_) {
      for (const auto& member : room.members) member->forgetRoom();
    }
    rooms_.clear();
  }
  queue_.stop();
}

bool World::signatureIsGood(const KOBUParams& params) const {
  if (options_.signatureIsGood) return options_.signatureIsGood(params);
  return params.userSig && !params.userSig->empty() && *params.userSig != "bad";
}

std::uint32_t World::voice(const Handset& handset) const {
  // A value of the time, not of chance, so that everyone who listens hears the same.
  const auto tenths = static_cast<std::uint64_t>(now().count() / 100);
  const auto bits = mixed(mixed(options_.seed ^ handset.number) ^ tenths);
  return static_cast<std::uint32_t>(20 + bits % 81);
}

std::optional<Refusal> World::refusal(const KOBUParams& params, bool signatureGood) const {
  const auto& known = options_.applications;
  if (suspended) return Refusal{kServiceSuspended, "the service is suspended"};
  if (params.sdkAppId == 0 ||
      (!known.empty() && std::find(known.begin(), known.end(), params.sdkAppId) == known.end())) {
    return Refusal{kEnterUnknownApplication, "unknown application"};
  }
  if (!params.userId || params.userId->empty()) return Refusal{kEnterBadUserId, "empty user id"};
  if (params.userId->size() > kLongestUserId)
    return Refusal{kEnterBadUserId, "a user id that is too long"};
  if (params.roomId == 0) return Refusal{kEnterBadRoomId, "bad room id"};
  if (!signatureGood) return Refusal{kEnterBadSignature, "bad user signature"};
  if (params.role != kKOBURoleAnchor && params.role != kKOBURoleAudience) {
    return Refusal{kEnterRefused, "unknown role"};
  }
  const auto room = rooms_.find({params.sdkAppId, params.roomId});
  if (room != rooms_.end() && room->second.members.size() >= options_.roomCapacity &&
      !room->second.find(*params.userId)) {
    return Refusal{kEnterRoomFull, "the room is full"};
  }
  return std::nullopt;
}

Room* World::findRoom(RoomKey key) {
  const auto found = rooms_.find(key);
  return found == rooms_.end() ? nullptr : &found->second;
}

Room& World::room(RoomKey key) {
  auto& room = rooms_[key];
  room.key = key;
  return room;
}

void World::tidy(const Room& room) {
  if (room.members.empty()) rooms_.erase(RoomKey(room.key));
}

std::shared_ptr<Handset> World::addHandset() {
  std::erase_if(handsets_, [](const auto& known) { return known.expired(); });
  auto handset = std::make_shared<Handset>(++handsetsMade_);
  handsets_.push_back(handset);
  return handset;
}

std::vector<std::shared_ptr<Client>> World::clientsOf(const std::string& userId) const {
  std::vector<std::shared_ptr<Client>> found;
  for (const auto& known : handsets_) {
    const auto handset = known.lock();
    auto client = handset ? handset->client.lock() : nullptr;
    if (client && client->isUser(userId)) found.push_back(std::move(client));
  }
  return found;
}

void World::dropConnection(Handset& handset) {
  if (!handset.isConnected()) return;
  handset.cutOffSince = now();
  if (const auto client = handset.client.lock()) client->connectionDropped();
}

void World::restoreConnection(Handset& handset) {
  if (handset.isConnected()) return;
  handset.cutOffSince.reset();
  if (const auto client = handset.client.lock()) client->connectionRestored();
}

std::vector<RoomSnapshot> World::roomSnapshots() const {
  std::vector<RoomSnapshot> snapshots;
  for (const auto& [key, room] : rooms_) {
    auto& snapshot = snapshots.emplace_back(RoomSnapshot{key.first, key.second, {}});
    for (const auto& member : room.members) snapshot.users.push_back(member->userId());
  }
  return snapshots;
}

}  // namespace vemo
