#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "bridge/KOBUCloud.h"
#include "simulation/Clock.h"
#include "simulation/EngineSnapshot.h"

namespace vemo {

class World;
class Handset;

/// How a handset's network behaves.
struct NetworkProfile {
  std::chrono::milliseconds delay{25};  ///< one way, between the handset and the cloud
  std::chrono::milliseconds jitter{5};  ///< measured delays are longer by up to this
  std::uint32_t upLoss = 0;             ///< percent of what the handset sends
  std::uint32_t downLoss = 0;           ///< percent of what it receives
};

// The range of enableAudioVolumeEvaluation, in ms: nearer and farther intervals are
// taken to its ends; 0 and less turn it off.
inline constexpr std::int32_t kShortestVolumeIntervalMs = 100;
inline constexpr std::int32_t kLongestVolumeIntervalMs = 10'000;

// What an engine keeps of what it is told, so that nobody fills the memory with it. What is
// beyond is not kept: a warning says so, and nothing else changes.
/// The longest user id, in bytes. Nobody enters with a longer one, so it names nobody.
inline constexpr std::size_t kLongestUserId = 256;
/// Of how many users views, volumes, muting and the like are kept, whether they are there or
/// not; as many as fit into a room where that is more.
inline constexpr std::size_t kMostUsersKept = 1'000;
/// How many pieces of music play at once.
inline constexpr std::size_t kMostMusic = 64;

/// A server that a speed test measures.
struct SpeedTestServer {
  std::string ip;
  std::chrono::milliseconds distance{0};  ///< added to the handset's own delay, one way
};

struct CloudOptions {
  std::uint64_t seed = 1;
  std::shared_ptr<Clock> clock;  ///< null: a RealClock
  NetworkProfile network;        ///< of a handset that was given none of its own
  std::size_t roomCapacity = 50;
  std::vector<std::uint32_t> applications;  ///< known ones; empty: any but 0

  // The three functions are called on the thread of the operation that needs them,
  // perhaps by several threads at once.
  /// Whether a user may enter with its signature; null: when it is neither empty nor "bad".
  std::function<bool(const KOBUParams& params)> signatureIsGood;
  /// How long the music at a path is; nothing when there is none. Null: there is none.
  std::function<std::optional<std::chrono::milliseconds>(const std::string& path)> musicDuration;

  std::vector<SpeedTestServer> speedTestServers{{"10.0.0.1", std::chrono::milliseconds(5)},
                                                {"10.0.0.2", std::chrono::milliseconds(20)},
                                                {"10.0.0.3", std::chrono::milliseconds(60)}};

  std::chrono::milliseconds enterTimeout{10'000};  ///< until an unanswered enter has failed
  std::chrono::milliseconds lostAfter{4'000};      ///< until a handset notices that it is cut off
  std::chrono::milliseconds goneAfter{30'000};     ///< until the others see it leave
  std::string version = "1.0.0";
};

/// What an engine class was told without an instance.
struct LogSettings {
  std::int32_t level = 0;
  bool console = false;
  bool compress = true;
  std::string directory;
};

/// The engine class of one simulated handset, and that handset's network.
///
/// Threads: any.
class SimulatedEngineClass final : public KOBUCloudClass {
 public:
  SimulatedEngineClass(std::shared_ptr<World> world, std::shared_ptr<Handset> handset);
  ~SimulatedEngineClass() override;

  std::string getSDKVersion() override;
  std::shared_ptr<KOBUCloud> sharedInstance() override;
  void destroySharedIntance() override;
  void setLogLevel(std::int32_t level) override;
  void setConsoleEnabled(bool enabled) override;
  void setLogCompressEnabled(bool enabled) override;
  void setLogDirPath(const std::string& path) override;

  /// The instance's state; nothing when there is none.
  std::optional<EngineSnapshot> snapshot() const;
  LogSettings logSettings() const;

  /// Holds until changed, for this instance and later ones.
  void setNetwork(const NetworkProfile& profile);
  /// Cuts the handset off. It notices after CloudOptions::lostAfter (onConnectionLost,
  /// onTryToReconnect). The others hear nothing of it from now on and see its pictures
  /// stand still; after goneAfter they see it leave with kLeaveTimedOut.
  void dropConnection();
  /// Ends that: onConnectionRecovery if the loss was noticed, and the room as it is now.
  /// An enter that still waits for its answer is asked for again.
  void restoreConnection();

  /// Tells the instance's delegate of `event`, on the thread of all events and after those
  /// that are under way; nothing else changes. False when there is no instance.
  bool fire(std::function<void(KOBUCloudDelegate&)> event);

 private:
  std::shared_ptr<World> world_;
  std::shared_ptr<Handset> handset_;
};

/// A classroom cloud in one process, simulated: handsets that share rooms, each behind
/// the engine's interface. A handset is a device with its network; it outlives the
/// instances of its engine. A room is what one application calls by one number.
///
/// Time: everything takes simulated time by the options' clock. The same seed and the
/// same steps give the same events.
///
/// Threads: any. All events and callbacks of all handsets are called on one thread of
/// the cloud's own, one at a time, with no lock held; delegates are locked for the
/// call. A cloud that is destroyed stops calling; its handsets live on and hear nothing.
/// It and its handsets may be destroyed by a callback.
class ClassroomCloud {
 public:
  explicit ClassroomCloud(CloudOptions options = {});
  ~ClassroomCloud();
  ClassroomCloud(const ClassroomCloud&) = delete;
  ClassroomCloud& operator=(const ClassroomCloud&) = delete;

  /// A new handset, with its connection up and no instance.
  std::shared_ptr<SimulatedEngineClass> makeEngineClass();

  // The operator's side. A user who is not there is ignored.
  /// Of the handsets that are in a room, or on the way into one, as `userId`; see
  /// SimulatedEngineClass.
  void dropConnection(const std::string& userId);
  void restoreConnection(const std::string& userId);
  void setNetwork(const std::string& userId, const NetworkProfile& profile);
  /// Puts a user out of a room: onExitRoom(kExitRemoved); the others see kLeaveRemoved.
  void removeUser(std::uint32_t sdkAppId, std::uint32_t roomId, const std::string& userId);
  /// Closes a room: onExitRoom(kExitDismissed) for everyone in it.
  void dismissRoom(std::uint32_t sdkAppId, std::uint32_t roomId);
  /// While suspended, nobody can enter.
  void setSuspended(bool suspended);

  /// By application and number.
  std::vector<RoomSnapshot> rooms() const;

  /// How many steps wait for their time, of all handsets: a few for each, and one for
  /// each message and answer that is on its way.
  std::size_t waitingSteps() const;

 private:
  std::shared_ptr<World> world_;
};

}  // namespace vemo
