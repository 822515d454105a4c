#include "simulation/ClassroomCloud.h"

#include <utility>

#include "bridge/EngineCodes.h"
#include "simulation/Client.h"
#include "simulation/SimulatedEngine.h"
#include "simulation/World.h"

namespace vemo {

SimulatedEngineClass::SimulatedEngineClass(std::shared_ptr<World> world,
                                           std::shared_ptr<Handset> handset)
    : world_(std::move(world)), handset_(std::move(handset)) {}

SimulatedEngineClass::~SimulatedEngineClass() { destroySharedIntance(); }

std::string SimulatedEngineClass::getSDKVersion() { return world_->options().version; }

std::shared_ptr<KOBUCloud> SimulatedEngineClass::sharedInstance() {
  const World::Guard guard(*world_);
  if (!handset_->instance) {
    const auto engine = std::make_shared<SimulatedEngine>(world_, handset_);
    handset_->client = engine->client();
    handset_->instance = engine;
  }
  return handset_->instance;
}

void SimulatedEngineClass::destroySharedIntance() {
  std::shared_ptr<KOBUCloud> instance;  // dies, perhaps, with no lock held
  const World::Guard guard(*world_);
  instance.swap(handset_->instance);
}

void SimulatedEngineClass::setLogLevel(std::int32_t level) {
  const World::Guard guard(*world_);
  handset_->log.level = level;
}

void SimulatedEngineClass::setConsoleEnabled(bool enabled) {
  const World::Guard guard(*world_);
  handset_->log.console = enabled;
}

void SimulatedEngineClass::setLogCompressEnabled(bool enabled) {
  const World::Guard guard(*world_);
  handset_->log.compress = enabled;
}

void SimulatedEngineClass::setLogDirPath(const std::string& path) {
  const World::Guard guard(*world_);
  handset_->log.directory = path;
}

std::optional<EngineSnapshot> SimulatedEngineClass::snapshot() const {
  const World::Guard guard(*world_);
  const auto client = handset_->instance ? handset_->client.lock() : nullptr;
  if (!client) return std::nullopt;
  return client->snapshot();
}

LogSettings SimulatedEngineClass::logSettings() const {
  const World::Guard guard(*world_);
  return handset_->log;
}

void SimulatedEngineClass::setNetwork(const NetworkProfile& profile) {
  const World::Guard guard(*world_);
  handset_->network = profile;
}

void SimulatedEngineClass::dropConnection() {
  const World::Guard guard(*world_);
  world_->dropConnection(*handset_);
}

void SimulatedEngineClass::restoreConnection() {
  const World::Guard guard(*world_);
  world_->restoreConnection(*handset_);
}

bool SimulatedEngineClass::fire(std::function<void(KOBUCloudDelegate&)> event) {
  const World::Guard guard(*world_);
  const auto client = handset_->instance ? handset_->client.lock() : nullptr;
  if (client) client->emit(std::move(event));
  return client != nullptr;
}

ClassroomCloud::ClassroomCloud(CloudOptions options)
    : world_(std::make_shared<World>(std::move(options))) {}

ClassroomCloud::~ClassroomCloud() { world_->close(); }

std::shared_ptr<SimulatedEngineClass> ClassroomCloud::makeEngineClass() {
  const World::Guard guard(*world_);
  return std::make_shared<SimulatedEngineClass>(world_, world_->addHandset());
}

void ClassroomCloud::dropConnection(const std::string& userId) {
  const World::Guard guard(*world_);
  for (const auto& client : world_->clientsOf(userId)) world_->dropConnection(client->handset());
}

void ClassroomCloud::restoreConnection(const std::string& userId) {
  const World::Guard guard(*world_);
  for (const auto& client : world_->clientsOf(userId)) world_->restoreConnection(client->handset());
}

void ClassroomCloud::setNetwork(const std::string& userId, const NetworkProfile& profile) {
  const World::Guard guard(*world_);
  for (const auto& client : world_->clientsOf(userId)) client->handset().network = profile;
}

void ClassroomCloud::removeUser(std::uint32_t sdkAppId, std::uint32_t roomId,
                                const std::string& userId) {
  const World::Guard guard(*world_);
  const auto* room = world_->findRoom({sdkAppId, roomId});
  const auto client = room ? room->find(userId) : nullptr;
  if (client) client->putOut(kExitRemoved, kLeaveRemoved);
}

void ClassroomCloud::dismissRoom(std::uint32_t sdkAppId, std::uint32_t roomId) {
  const World::Guard guard(*world_);
  const auto* room = world_->findRoom({sdkAppId, roomId});
  if (!room) return;
  const auto members = room->members;
  for (const auto& member : members) member->putOut(kExitDismissed, kLeaveRemoved);
}

void ClassroomCloud::setSuspended(bool suspended) {
  const World::Guard guard(*world_);
  world_->suspended = suspended;
}

std::vector<RoomSnapshot> ClassroomCloud::rooms() const {
  const World::Guard guard(*world_);
  return world_->roomSnapshots();
}

std::size_t ClassroomCloud::waitingSteps() const { return world_->waitingSteps(); }

}  // namespace vemo
