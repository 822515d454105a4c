#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulation/Encoding.h"
#include "simulation/EngineSnapshot.h"
#include "simulation/MusicPlayer.h"
#include "simulation/SpeedTest.h"
#include "simulation/World.h"

namespace vemo {

enum class MediaKind { audio, video, subStream };

/// What the cloud needs to let somebody in, or in again, however short the way to it.
inline constexpr Clock::Time kServerTime{20};

/// What a client knows of another user, and of what it receives from it.
struct KnownUser {
  struct Stream {
    bool available = false;
    Timer firstFrame;  // present once its first frame is on the way, or was shown
  };

  bool visible = false;
  Stream audio, video, subStream;
  std::uint64_t lastAnnouncement = 0;

  Stream& stream(MediaKind kind) {
    return kind == MediaKind::audio ? audio : kind == MediaKind::video ? video : subStream;
  }
  const Stream& stream(MediaKind kind) const {
    return kind == MediaKind::audio ? audio : kind == MediaKind::video ? video : subStream;
  }
};

/// What a client wants of another user, known or not. An absent wish leaves it to
/// what is wanted of all users.
struct RemoteWish {
  std::optional<bool> audioMuted;
  std::optional<bool> videoMuted;
  std::int32_t volume = 100;
  std::int32_t preferredStream = kKOBUStreamTypeMain;
};

/// Whether audio and video are received without being asked for.
struct ReceiveMode {
  bool audio = true;
  bool video = true;
};

/// What a client sends for the others to see. Nothing moves in a stream of 0 frames.
struct SentPictures {
  Picture camera;  ///< as its sender sees it, turned and mirrored
  VideoStream main;
  std::optional<VideoStream> small;
  VideoStream screen;
};

/// Where a remote stream is shown.
struct RemoteView {
  std::int32_t streamType = kKOBUStreamTypeMain;
  std::shared_ptr<NativeView> view;
};

/// The state of one engine instance: of its user in the room and of its media.
///
/// Part of the world: used with the world's lock held, by its instance, by the other
/// clients and by its own timed steps.
class Client : public std::enable_shared_from_this<Client> {
 public:
  using Time = World::Time;

  Client(World& world, std::shared_ptr<Handset> handset);

  /// Leaves and ends all calls for good.
  void close();

  // Room (ClientRoom.cpp)
  void enter(const KOBUParams& params, std::int64_t scene, bool signatureGood);
  void exit();
  void switchRole(std::int32_t role);
  /// Leaves with onExitRoom(`exitReason`), of which the others see `othersReason`.
  void putOut(std::int64_t exitReason, std::int64_t othersReason);
  /// Learns what another user shows; `reason` is that of a leave.
  void learn(const std::string& user, const Presence& shown, std::uint64_t announcement,
             std::int64_t reason);
  void forgetRoom() { room_ = nullptr; }
  void setVolumeInterval(std::int32_t intervalMs);

  // Connection (ClientConnection.cpp)
  void connectionDropped();
  void connectionRestored();

  // Local media (ClientMedia.cpp)
  void startCamera(bool front, std::shared_ptr<NativeView> view);
  void stopCamera();
  void startMicrophone(std::int32_t quality);
  void stopMicrophone();
  /// What the others see of it: what it sends or, while it is cut off, what came last.
  SentPictures sent() const;
  /// Tells the others if what this client shows has changed.
  void publish();
  bool sends(MediaKind kind) const;
  /// How loud the microphone is, 0 to 100.
  std::uint32_t loudness() const;

  // Remote media (ClientMedia.cpp)
  /// Reports first frames of what is received of `user` now.
  void receive(const std::string& user);
  void receiveAll();
  void stopRemoteViews();
  /// Whether what `user` shows is wanted, and could come.
  bool receives(const std::string& user, MediaKind kind) const;
  /// Whether it comes now.
  bool flows(const std::string& user, MediaKind kind) const;
  bool isAudioMuted(const std::string& user) const;  // by this client
  bool isVideoMuted(const std::string& user) const;
  /// The stream type in which `user`'s camera or screen would come now, and its picture.
  std::int32_t shownStream(const std::string& user, MediaKind kind) const;
  VideoStream pictureOf(const std::string& user, MediaKind kind) const;

  // Screen capture (ClientCapture.cpp)
  void startCapture(const KOBUVideoEncParam& param, bool broadcast, const std::string& appGroup);
  std::int64_t pauseCapture();
  std::int64_t resumeCapture();
  std::int64_t stopCapture();
  /// The stream of a running capture; nothing moves in it while that is paused.
  VideoStream captureStream() const;

  // Measuring (ClientStatistics.cpp)
  /// Reports quality and statistics; what flows now is taken to have flowed for `period`.
  void measure(Time period);
  /// Reports how loud everyone is.
  void listen();
  /// How loud `user` is on this handset before its playout volume, 0 to 100.
  std::uint32_t heard(const std::string& user) const;

  EngineSnapshot snapshot() const;

  /// Calls `event` with the delegate, if there is one then, on the callback thread.
  template <class Event>
  void emit(Event event) {
    callBack([](const Client& self) { return self.delegate.lock(); }, std::move(event));
  }

  /// Calls `call` with what `find` finds, if that is not null, on the callback thread.
  /// `find` is called with this and with the lock held, `call` without it.
  template <class Find, class Call>
  void callBack(Find find, Call call) {
    world_.post(Time(0), [weak = weak_from_this(), find = std::move(find), call = std::move(call)] {
      decltype(find(std::declval<const Client&>())) found;
      if (const auto self = weak.lock()) {
        const World::Guard guard(self->world_);
        if (!self->closed_) found = find(*self);
      }
      if (found) call(*found);
    });
  }

  /// Calls `call` with what `target` points to, if it is still alive then; as the last
  /// call, in any case.
  template <class Target, class Call>
  void callBackTo(std::shared_ptr<Target> target, bool isLast, Call call) {
    callBack([weak = std::weak_ptr(target), kept = isLast ? target : nullptr](
                 const Client&) { return kept ? kept : weak.lock(); },
             std::move(call));
  }

  void warn(std::int32_t code, const std::string& text);
  /// What `table` keeps under `key`, which is of a user, made if need be. Null, with a
  /// warning, when it can't be kept: see kLongestUserId and kMostUsersKept.
  template <class Table>
  typename Table::mapped_type* kept(Table& table, const typename Table::key_type& key) {
    const auto known = table.find(key);
    if (known != table.end()) return &known->second;
    return canKeep(userIn(key), table.size()) ? &table[key] : nullptr;
  }
  /// Whether an encoder can use `param`; warns when it can't.
  bool accepts(const KOBUVideoEncParam& param);

  /// Runs `step` after `delay` with the lock held, unless this is closed by then.
  template <class Step>
  void later(Time delay, Step step) {
    world_.post(delay, [weak = weak_from_this(), step = std::move(step)] {
      const auto self = weak.lock();
      if (!self) return;
      const World::Guard guard(self->world_);
      if (!self->closed_) step(*self);
    });
  }
  /// The same in place of what `timer`, a part of this, still waits for.
  template <class Step>
  void later(Time delay, Timer& timer, Step step) {
    timer = world_.postRevocable(
        delay, [weak = weak_from_this(), step = std::move(step)](const auto& ticket) {
          const auto self = weak.lock();
          if (!self) return;
          const World::Guard guard(self->world_);
          if (!self->closed_ && !ticket.expired()) step(*self);
        });
  }

  World& world() const { return world_; }
  Handset& handset() const { return *handset_; }
  const NetworkProfile& network() const;
  Time roundTrip() const { return 2 * network().delay; }
  /// Empty when there is none.
  const std::string& userId() const { return userId_; }
  bool isUser(const std::string& user) const {
    return state_ != RoomState::outside && userId_ == user;
  }

  std::weak_ptr<KOBUCloudDelegate> delegate;
  std::uint64_t visit = 0;  // counts those of rooms; what belongs to a former one is void
  ReceiveMode nextReceiveMode;
  LocalVideo video;
  LocalAudio audio;
  std::map<std::string, RemoteWish> wishes;
  std::optional<bool> allAudioMuted, allVideoMuted;
  std::map<std::pair<std::string, MediaKind>, RemoteView> views;
  std::map<std::pair<std::string, MediaKind>, KOBURenderParams> drawings;
  ScreenCapture capture;
  MusicPlayer music{*this};
  SpeedTest speedTest{*this};
  std::int32_t debugView = 0;
  std::map<std::string, EdgeInsets> debugViewMargins;
  std::vector<std::string> experimentalCalls;

 private:
  static std::string_view userIn(const std::string& user) { return user; }
  static std::string_view userIn(const std::pair<std::string, MediaKind>& stream) {
    return stream.first;
  }
  bool canKeep(std::string_view user, std::size_t keptAlready);
  /// Asks to be let in, or waits for the connection.
  void knock();
  void arrive();
  void failEntering(std::int32_t code, std::string_view text);
  void join(Room& room);
  /// Takes the client out of its room, of which the others see `reason`.
  void quitRoom(std::int64_t reason);
  /// Ends what belongs to a visit.
  void endVisit();
  void startListening();
  void resume();
  void freeze();
  void thaw();
  bool isCutOff() const { return frozen_.has_value(); }
  void noticeLoss();
  Presence presence() const;
  bool isSeen(const std::string& user) const;
  Picture ownPicture() const;
  Picture pictureIn(const std::string& user, MediaKind kind) const;
  std::vector<KOBULocalStatistics> measureSent() const;
  std::vector<KOBURemoteStatistics> measureReceived() const;
  void startMeasuring();
  void reportFirstSent(MediaKind kind, std::int64_t streamType, Time frame);
  void showFirstFrame(const std::string& user, MediaKind kind);

  World& world_;
  const std::shared_ptr<Handset> handset_;
  bool closed_ = false;

  RoomState state_ = RoomState::outside;
  KOBUParams params_;
  std::string userId_;
  std::int64_t scene_ = 0;
  bool signatureGood_ = false;
  Time enteringSince_{0};
  Timer entering_;
  Room* room_ = nullptr;  // null while the cloud does not know the client as a member
  ReceiveMode receiveMode_;
  std::map<std::string, KnownUser> known_;
  Presence announced_;
  Timer announcing_;  // present while the next announcement must wait
  Timer measuring_;
  Timer listening_;
  // Present while in a room, and not in step with it since the connection dropped.
  std::optional<SentPictures> frozen_;
  Timer loss_;     // is noticed, or tried to be overcome
  Timer absence_;  // is noticed by the others
  Timer resuming_;
  bool lossNoticed_ = false;
  std::optional<std::int64_t> putOutMeanwhile_;  // while cut off: the reason to exit

  Timer camera_;
  Timer microphone_;
  Timer capturing_;
  bool cameraReady_ = false;
  bool microphoneReady_ = false;
  bool captureReady_ = false;
  std::map<MediaKind, Timer> firstSent_;  // once a first frame is on the way, or was sent

  std::uint64_t sentBytes_ = 0;
  std::uint64_t receivedBytes_ = 0;
};

}  // namespace vemo
