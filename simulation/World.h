#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bridge/KOBUCloud.h"
#include "simulation/ClassroomCloud.h"
#include "simulation/EventQueue.h"
#include "simulation/Room.h"

namespace vemo {

class Client;

/// A step that waits for its time, if any: whoever sets it anew, or lets go of it, takes
/// the former step back.
using Timer = std::shared_ptr<const EventQueue::Ticket>;

/// A handset: what outlives the instances of its engine. Guarded by the world's lock.
class Handset {
 public:
  explicit Handset(std::uint64_t id) : number(id) {}

  const std::uint64_t number;  // different for every handset
  std::optional<NetworkProfile> network;
  std::optional<Clock::Time> cutOffSince;  // present while the connection is down
  LogSettings log;
  std::shared_ptr<KOBUCloud> instance;
  std::weak_ptr<Client> client;  // the instance's

  bool isConnected() const { return !cutOffSince; }
};

/// Why a user may not enter.
struct Refusal {
  std::int32_t code = 0;
  std::string_view text;
};

/// All that the handsets of a cloud share: its lock, time, chance and rooms.
///
/// Everything but what is said to need no lock is used while a Guard lives; nothing
/// that a Guard protects calls out, and what might run code of others when it dies
/// goes through discard.
class World {
 public:
  using Time = Clock::Time;

  /// Holds the world's lock, and destroys what was discarded once it has let go of it.
  class Guard {
   public:
    explicit Guard(const World& world) : world_(world), lock_(world.mutex_) {}
    ~Guard() {
      const auto discarded = std::exchange(world_.discarded_, {});
      lock_.unlock();
    }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

   private:
    const World& world_;
    std::unique_lock<std::mutex> lock_;
  };

  explicit World(CloudOptions options);
  ~World();

  /// Ends all rooms and all calls for good. Not with the lock held.
  void close();

  // No lock needed
  const CloudOptions& options() const { return options_; }
  Time now() const { return options_.clock->now(); }
  bool signatureIsGood(const KOBUParams& params) const;

  /// Runs `task` on the callback thread after `delay`, with no lock held. Nothing runs
  /// in a closed world.
  void post(Time delay, EventQueue::Task task) {
    if (!queue_.post(now() + delay, task)) {
      discard(std::make_shared<EventQueue::Task>(std::move(task)));
    }
  }
  /// The same for a step that is void without its timer; see EventQueue::postRevocable.
  Timer postRevocable(Time delay, EventQueue::RevocableTask step) {
    return queue_.postRevocable(now() + delay, std::move(step));
  }
  /// How many steps wait for their time.
  std::size_t waitingSteps() const { return queue_.size(); }
  /// Keeps `dead` until the lock is free.
  void discard(std::shared_ptr<const void> dead) { discarded_.push_back(std::move(dead)); }

  /// A number from 0 to `limit`.
  std::uint64_t random(std::uint64_t limit) { return limit == 0 ? 0 : random_() % (limit + 1); }
  Time randomTime(Time limit) {
    return Time(random(static_cast<std::uint64_t>(std::max<Time::rep>(limit.count(), 0))));
  }
  /// How loud the user of a handset speaks now, 20 to 100.
  std::uint32_t voice(const Handset& handset) const;

  std::optional<Refusal> refusal(const KOBUParams& params, bool signatureGood) const;
  Room* findRoom(RoomKey key);
  Room& room(RoomKey key);
  /// Takes a room that became empty away.
  void tidy(const Room& room);

  std::shared_ptr<Handset> addHandset();
  /// The handsets in a room, or on the way into one, as `userId`.
  std::vector<std::shared_ptr<Client>> clientsOf(const std::string& userId) const;
  void dropConnection(Handset& handset);
  void restoreConnection(Handset& handset);
  std::vector<RoomSnapshot> roomSnapshots() const;

  std::uint64_t announcements = 0;  // counts them, to tell newer from older
  bool suspended = false;

 private:
  CloudOptions options_;
  mutable std::mutex mutex_;
  mutable std::vector<std::shared_ptr<const void>> discarded_;
  std::mt19937_64 random_;
  std::map<RoomKey, Room> rooms_;
  std::vector<std::weak_ptr<Handset>> handsets_;
  std::uint64_t handsetsMade_ = 0;
  EventQueue queue_;  // last: stops before anything else goes
};

}  // namespace vemo
