#include "engine/Conference.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <fstream>
#include <sstream>
#include <utility>

#include "bridge/EngineCodes.h"
#include "engine/LineList.h"
#include "engine/LinkQuality.h"
#include "engine/Outgoing.h"
#include "engine/RemoteStream.h"
#include "engine/ServerList.h"
#include "engine/SignedToken.h"
#include "json/Lookup.h"

namespace vemo::janus {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kMeasuringPeriod{2'000};
constexpr std::int32_t kShortestVolumeIntervalMs = 100;
constexpr std::int32_t kLongestVolumeIntervalMs = 10'000;
constexpr std::size_t kLongestCall = 4096;  // bytes
constexpr unsigned kJitterBufferMs = 100;

/// Processor time used since the start: of this process, of nobody, and of all, in ticks.
struct Ticks {
  std::uint64_t process = 0;
  std::uint64_t idle = 0;
  std::uint64_t all = 0;
};

Ticks readTicks() {
  Ticks ticks;
  std::string word;
  std::ifstream all("/proc/stat");
  all >> word;
  std::uint64_t value = 0;
  for (int column = 0; column < 8 && all >> value; ++column) {
    constexpr int kIdle = 3;
    constexpr int kWaiting = 4;
    ticks.all += value;
    if (column == kIdle || column == kWaiting) ticks.idle += value;
  }
  std::ifstream own("/proc/self/stat");
  std::string line;
  std::getline(own, line);
  std::istringstream fields(line.substr(std::min(line.rfind(')') + 1, line.size())));
  constexpr int kUserTime = 12;  // behind the name
  for (int column = 1; column < kUserTime && fields >> word; ++column) {
  }
  std::uint64_t user = 0;
  std::uint64_t system = 0;
  fields >> user >> system;
  ticks.process = user + system;
  return ticks;
}

std::uint32_t percent(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0
                    : static_cast<std::uint32_t>(std::min<std::uint64_t>(part * 100 / whole, 100));
}

std::uint32_t kbits(std::uint64_t bytes) {
  return static_cast<std::uint32_t>(bytes * 8 /
                                    static_cast<std::uint64_t>(kMeasuringPeriod.count()));
}

}  // namespace

Conference::Conference(std::shared_ptr<EngineThread> thread,
                       std::shared_ptr<const EngineOptions> options, std::shared_ptr<EngineLog> log)
    : thread_(std::move(thread)),
      options_(std::move(options)),
      log_(std::move(log)),
      outgoing_(std::make_shared<Outgoing>()),
      music_(*thread_, options_->musicFolder,
             {[this]() -> AudioMix& { return playoutMix(); },
              [this]() -> AudioMix& { return sentMix(); }},
             [this] { publish(); }) {}

Conference::~Conference() = default;

void Conference::close() {
  silent_ = true;
  nextEnter_.reset();
  speedTest_.reset();
  music_.stopAll();
  camera_.reset();
  screen_.reset();
  screenCast_.reset();
  setScreenReady(false);
  muteImageTimer_.reset();
  outgoing_->preview.setView(nullptr);
  stopMicrophone();
  exit();
  wishes_.clear();
  sent_.reset();
  playout_.reset();
}

void Conference::warn(std::int32_t code, const std::string& text) {
  log_->write(EngineLog::warning, text);
  emit([&](auto& to) { to.onWarning(code, text, std::nullopt); });
}

void Conference::cannot(const std::string& what) { log_->write(EngineLog::warning, what); }

std::vector<std::string> Conference::servers() {
  if (options_->serversFile.empty()) return options_->servers;
  if (const auto content = contentOf(options_->serversFile)) return serversIn(*content);
  log_->write(EngineLog::error, options_->serversFile + " can't be read");
  return options_->servers;
}

JanusConnection::Settings Conference::connectionTo(const std::string& server,
                                                   const std::string& token) const {
  JanusConnection::Settings settings;
  settings.server = server;
  settings.authorities = options_->authorities;
  settings.token = token;
  settings.answerTimeout = options_->answerTimeout;
  settings.keepalive = options_->keepalive;
  return settings;
}

PeerConnection::Settings Conference::connectionForMedia() const {
  auto relays = relaysOf(*options_);
  for (const auto& problem : relays.problems) log_->write(EngineLog::error, problem);
  return {.relays = std::move(relays.usable),
          .note = [log = log_](const std::string& text) { log->write(EngineLog::warning, text); },
          .latencyMs = kJitterBufferMs};
}

void Conference::enter(const KOBUParams& params) {
  if (state_ != State::outside) {
    emit([](auto& to) { to.onError(kAlreadyInRoom, "already in a room", std::nullopt); });
    emit([](auto& to) { to.onEnterRoom(kAlreadyInRoom); });
    return;
  }
  state_ = State::entering;
  if (isEngaged_) {  // the former visit is on its way out
    nextEnter_ = params;
    return;
  }
  userId_ = params.userId.value_or("");
  role_ = params.role;
  receiveAudio_ = nextReceiveAudio_;
  receiveVideo_ = nextReceiveVideo_;
  const auto room = roomName(params.sdkAppId, params.roomId);
  const auto server = serverOf(servers(), room);
  if (role_ != kKOBURoleAnchor && role_ != kKOBURoleAudience) {
    return failEntering(kEnterRefused, "unknown role");
  }
  if (params.roomId == 0) return failEntering(kEnterBadRoomId, "there is no room 0");
  if (userId_.empty()) return failEntering(kEnterBadUserId, "there is no user id");
  if (userId_.size() > kLongestUserId) {
    return failEntering(kEnterBadUserId, "the user id is too long");
  }
  if (server.empty()) return failEntering(kEnterRefused, "no media server is named");

  const auto signature = UserSignature::of(params.userSig.value_or(""));
  RoomVisit::Settings settings;
  settings.connection = connectionTo(server, signature.server);
  settings.room = room;
  settings.roomToken = signature.room;
  settings.userId = userId_;
  settings.adminKey = options_->adminKey;
  settings.mostAnchors = options_->mostAnchors;
  settings.media = connectionForMedia();
  visit_ = std::make_shared<RoomVisit>(*thread_, std::move(settings), visitListener());
  const auto since = Clock::now();
  visit_->enter(presence(), [weak = weak_from_this(), visit = std::weak_ptr(visit_),
                             since](const std::optional<RoomVisit::Failure>& failure) {
    const auto self = weak.lock();
    if (!self || self->visit_ != visit.lock()) return;
    self->entered(since, failure ? &*failure : nullptr);
  });
}

RoomVisit::Listener Conference::visitListener() {
  return {
      bind([](Conference& self, const std::string& user, const Presence& presence) {
        self.learn(user, presence);
      }),
      bind([](Conference& self, const std::string& user, std::int64_t reason) {
        self.gone(user, reason);
      }),
      bind([](Conference& self) { self.emit([](auto& to) { to.onConnectionLost(); }); }),
      bind([](Conference& self) { self.emit([](auto& to) { to.onTryToReconnect(); }); }),
      bind([](Conference& self) {
        self.emit([](auto& to) { to.onConnectionRecovery(); });
        self.receiveAll();
      }),
      bind([](Conference& self, std::int64_t reason, const std::optional<RoomVisit::Failure>& why) {
        if (self.state_ == State::entering) {
          return why ? self.failEntering(why->code, why->text)
                     : self.failEntering(kEnterRefused, "the room was closed");
        }
        self.endVisit();
        if (why) {
          self.log_->write(EngineLog::error, why->text);
          self.emit([&why](auto& to) { to.onError(why->code, why->text, std::nullopt); });
        }
        self.emit([reason](auto& to) { to.onExitRoom(reason); });
      }),
      bind([](Conference& self, Publisher* publisher) {
        self.outgoing_->setPublisher(publisher);
        if (publisher) self.applyEncodings();
      }),
      bind([](Conference& self, Line line) {
        const auto shown = self.presence();
        self.emit([&](auto& to) {
          if (line == Line::audio && shown.audio) to.onSendFirstLocalAudioFrame();
          if (line == Line::camera && shown.video) {
            to.onSendFirstLocalVideoFrame(kKOBUStreamTypeMain);
          }
          if (line == Line::screen && shown.screen) {
            to.onSendFirstLocalVideoFrame(kKOBUStreamTypeSub);
          }
        });
      }),
      [log = log_](const std::string& text) { log->write(EngineLog::info, text); }};
}

void Conference::entered(Clock::time_point since, const RoomVisit::Failure* failure) {
  if (failure) return failEntering(failure->code, failure->text);
  state_ = State::inside;
  const auto elapsed = std::chrono::duration_cast<milliseconds>(Clock::now() - since).count();
  emit([elapsed](auto& to) { to.onEnterRoom(elapsed); });
  // Who was there already was learnt on the way in, and is told now.
  for (auto& [user, remote] : std::exchange(remotes_, {})) learn(user, remote.presence);
  publish();
  const auto ticks = readTicks();
  lastProcessTicks_ = ticks.process;
  lastIdleTicks_ = ticks.idle;
  lastAllTicks_ = ticks.all;
  measuring_ = thread_->every(kMeasuringPeriod, bind([](Conference& self) { self.measure(); }));
  setVolumeInterval(volumeIntervalMs_);
}

void Conference::failEntering(std::int32_t code, const std::string& text) {
  log_->write(EngineLog::error, "entering failed: " + text);
  endVisit();
  emit([&](auto& to) { to.onError(code, text, std::nullopt); });
  emit([code](auto& to) { to.onEnterRoom(code); });
}

void Conference::exit() {
  if (state_ == State::outside) return;
  const bool waits = nextEnter_.has_value();
  nextEnter_.reset();
  const auto visit = visit_;
  if (state_ == State::entering) failEntering(kEnterCancelled, "left on the way in");
  endVisit();
  if (!visit || waits) {
    emit([](auto& to) { to.onExitRoom(kExitLeft); });
    return;
  }
  isEngaged_ = true;
  visit->leave([self = shared_from_this(), visit, busy = thread_->busy()] {
    self->isEngaged_ = false;
    self->emit([](auto& to) { to.onExitRoom(kExitLeft); });
    if (const auto next = std::exchange(self->nextEnter_, std::nullopt)) {
      self->state_ = State::outside;
      self->enter(*next);
    }
  });
}

void Conference::endVisit() {
  state_ = State::outside;
  measuring_.reset();
  listening_.reset();
  outgoing_->setPublisher(nullptr);
  visit_.reset();
  givingWay_ = {};
  setPanels({});
  remotes_.clear();
  wishes_.clear();
  allAudioMuted_.reset();
  allVideoMuted_.reset();
  lastCounts_.clear();
  lastFrames_.clear();
  sentBefore_ = receivedBefore_ = 0;
}

void Conference::switchRole(std::int32_t role) {
  if (role != kKOBURoleAnchor && role != kKOBURoleAudience) {
    emit([](auto& to) { to.onSwitchRole(kSwitchUnknownRole, "unknown role"); });
    return;
  }
  if (state_ != State::inside) {
    emit([](auto& to) { to.onSwitchRole(kSwitchOutsideRoom, "not in a room"); });
    return;
  }
  const auto former = std::exchange(role_, role);
  visit_->switchRole(
      role == kKOBURoleAnchor,
      bind([role, former](Conference& self, const std::optional<RoomVisit::Failure>& failure) {
        if (failure && self.role_ == role) self.role_ = former;
        self.emit([&](auto& to) {
          to.onSwitchRole(failure ? failure->code : 0, failure ? failure->text : std::string());
        });
        self.publish();
      }));
}

void Conference::setReceiveMode(bool audio, bool video) {
  nextReceiveAudio_ = audio;
  nextReceiveVideo_ = video;
}

void Conference::learn(const std::string& user, const Presence& presence) {
  auto& remote = remotes_[user];
  const auto former = std::exchange(remote.presence, presence);
  if (state_ != State::inside) return;
  if (presence.leaving) return;  // the leave itself comes right behind
  if (presence.anchor && !former.anchor) {
    emit([&](auto& to) { to.onRemoteUserEnterRoom(user); });
  }
  const auto tell = [&](bool before, bool now, auto event) {
    if (before != now) emit([&](auto& to) { (to.*event)(user, now); });
  };
  tell(former.audio, presence.audio, &KOBUCloudDelegate::onUserAudioAvailable);
  tell(former.video, presence.video, &KOBUCloudDelegate::onUserVideoAvailable);
  tell(former.screen, presence.screen, &KOBUCloudDelegate::onUserSubStreamAvailable);
  if (!presence.anchor && former.anchor) {
    emit([&](auto& to) { to.onRemoteUserLeaveRoom(user, kLeaveAudience); });
  }
  receive(user);
}

void Conference::gone(const std::string& user, std::int64_t reason) {
  const auto found = remotes_.find(user);
  if (found == remotes_.end()) return;
  const auto former = found->second.presence;
  if (visit_) visit_->subscriber().unwant(user);
  remotes_.erase(found);
  if (state_ != State::inside) return;
  if (former.audio) emit([&](auto& to) { to.onUserAudioAvailable(user, false); });
  if (former.video) emit([&](auto& to) { to.onUserVideoAvailable(user, false); });
  if (former.screen) emit([&](auto& to) { to.onUserSubStreamAvailable(user, false); });
  if (former.anchor) emit([&](auto& to) { to.onRemoteUserLeaveRoom(user, reason); });
}

void Conference::measure() {
  const auto received = bind([](Conference& self, const std::vector<RtpCounts>& sent) {
    if (self.state_ != State::inside) return;
    self.visit_->subscriber().counts(
        self.bind([sent](Conference& held, const std::map<Subscriber::Key, RtpCounts>& counts) {
          if (held.state_ == State::inside) held.report(sent, counts);
        }));
  });
  if (auto* publisher = visit_->publisher()) {
    publisher->counts(received);
  } else {
    received(std::vector<RtpCounts>{});
  }
}

void Conference::report(const std::vector<RtpCounts>& sent,
                        const std::map<Subscriber::Key, RtpCounts>& received) {
  auto statistics = std::make_shared<KOBUStatistics>();
  const auto ticks = readTicks();
  const auto all = ticks.all - std::exchange(lastAllTicks_, ticks.all);
  statistics->appCpu =
      percent(ticks.process - std::exchange(lastProcessTicks_, ticks.process), all);
  statistics->systemCpu =
      100 - percent(ticks.idle - std::exchange(lastIdleTicks_, ticks.idle), all);
  const auto roundTrip = visit_->roundTrip().value_or(milliseconds(0)).count();
  statistics->rtt = static_cast<std::uint32_t>(roundTrip);

  const auto frames = [this](std::uint64_t key, std::uint64_t now) {
    const auto before = std::exchange(lastFrames_[key], now);
    return static_cast<std::uint32_t>((now < before ? now : now - before) * 1000 /
                                      static_cast<std::uint64_t>(kMeasuringPeriod.count()));
  };
  const auto since = [this](const RtpCounts& now) {
    auto difference = now;
    const auto before = std::exchange(lastCounts_[now.ssrc], now);
    if (now.bytes >= before.bytes) {
      difference.bytes -= before.bytes;
      difference.packets -= std::min(before.packets, difference.packets);
      difference.lost -= before.lost;
    }
    return difference;
  };
  const auto shown = presence();
  if (auto* publisher = visit_->publisher()) {
    double loss = 0;
    bool hasSent = false;
    const auto countsOf = [&](Line line) {
      for (const auto& counts : sent) {
        if (counts.isSent && counts.ssrc == publisher->ssrcOf(line)) {
          const auto recent = since(counts);
          sentBefore_ += recent.bytes;
          if (recent.packets > 0) {  // else what is told of it is old
            hasSent = true;
            loss = std::max(loss, counts.fractionLost);
          }
          return recent;
        }
      }
      return RtpCounts{};
    };
    const auto audio = countsOf(Line::audio);
    const auto add = [&](Line line, std::int32_t type, const VideoEncoding& asked, bool isSent) {
      const auto encoding = possible(asked);
      const auto counts = countsOf(line);
      const auto rate = frames(static_cast<std::uint64_t>(line), publisher->framesOf(line));
      if (!isSent) return;
      KOBULocalStatistics local;
      if (type != kKOBUStreamTypeMain || shown.video) {
        local.width = encoding.width;
        local.height = encoding.height;
        local.frameRate = rate;
      }
      local.videoBitrate = kbits(counts.bytes);
      local.streamType = type;
      if (type == kKOBUStreamTypeMain && shown.audio) {
        local.audioSampleRate = 48'000;
        local.audioBitrate = kbits(audio.bytes);
      }
      statistics->localStatistics.push_back(local);
    };
    add(Line::camera, kKOBUStreamTypeMain, cameraEncoding_, shown.video || shown.audio);
    add(Line::cameraSmall, kKOBUStreamTypeMainSmall, smallEncoding_, shown.video && shown.small);
    add(Line::screen, kKOBUStreamTypeSub, screenEncoding_, shown.screen);
    statistics->upLoss = static_cast<std::uint32_t>(loss * 100);
    if (hasSent && givingWay_.look(loss)) applyEncodings();
  }

  std::uint64_t packets = 0;
  std::uint64_t lost = 0;
  auto qualities = std::make_shared<std::vector<KOBUQualityInfo>>();
  std::uint64_t index = kLineCount;
  for (const auto& [user, remote] : remotes_) {
    if (!remote.presence.anchor) continue;
    std::uint32_t worst = 0;
    bool isReceived = false;
    KOBURemoteStatistics main;
    KOBURemoteStatistics screen;
    for (const auto& [line, stream] : remote.streams) {
      const auto counts = received.find({user, line});
      if (!stream || counts == received.end()) continue;
      const auto recent = since(counts->second);
      receivedBefore_ += recent.bytes;
      const auto missing = static_cast<std::uint64_t>(std::max<std::int64_t>(recent.lost, 0));
      packets += recent.packets;
      lost += missing;
      const auto loss = percent(missing, missing + recent.packets);
      auto& entry = line == Line::screen ? screen : main;
      entry.userId = user;
      entry.packetLoss = std::max(entry.packetLoss, loss);
      entry.jitterBufferDelay = kJitterBufferMs;
      if (line == Line::audio) {
        entry.audioSampleRate = 48'000;
        entry.audioBitrate = kbits(recent.bytes);
      } else {
        entry.width = static_cast<std::uint32_t>(stream->width.load());
        entry.height = static_cast<std::uint32_t>(stream->height.load());
        entry.frameRate = frames(index++, stream->frames);
        entry.videoBitrate = kbits(recent.bytes);
      }
      worst = std::max(worst, loss);
      isReceived = true;
    }
    const auto wish = wishes_.find(user);
    const bool small = remote.presence.small && wish != wishes_.end() && wish->second.small;
    main.streamType = small ? kKOBUStreamTypeMainSmall : kKOBUStreamTypeMain;
    screen.streamType = kKOBUStreamTypeSub;
    if (main.userId) statistics->remoteStatistics.push_back(main);
    if (screen.userId) statistics->remoteStatistics.push_back(screen);
    qualities->push_back({user, isReceived ? linkQuality(worst, 0) : 0});
  }
  statistics->downLoss = percent(lost, lost + packets);
  statistics->sentBytes = sentBefore_;
  statistics->receivedBytes = receivedBefore_;

  auto own = std::make_shared<KOBUQualityInfo>();
  own->userId = userId_;
  own->quality = linkQuality(std::max(statistics->upLoss, statistics->downLoss), statistics->rtt);
  emit([&](auto& to) { to.onNetworkQuality(own, qualities); });
  emit([&](auto& to) { to.onStatistics(statistics); });
  tellPanels(*statistics);
}

void Conference::setVolumeInterval(std::int32_t intervalMs) {
  volumeIntervalMs_ = intervalMs;
  listening_.reset();
  if (state_ != State::inside || intervalMs <= 0) return;
  const auto interval = std::clamp(intervalMs, kShortestVolumeIntervalMs, kLongestVolumeIntervalMs);
  listening_ =
      thread_->every(milliseconds(interval), bind([](Conference& self) { self.listen(); }));
}

void Conference::listen() {
  auto volumes = std::make_shared<std::vector<KOBUVolumeInfo>>();
  int total = 0;
  const auto add = [&](Text user, int volume) {
    volumes->push_back({std::move(user), static_cast<std::uint32_t>(volume)});
    total = std::max(total, volume);
  };
  if (presence().audio) add(std::nullopt, outgoing_->loudness);
  for (const auto& [user, remote] : remotes_) {
    const auto stream = remote.streams.find(Line::audio);
    if (!remote.presence.audio || stream == remote.streams.end() || !stream->second) continue;
    add(user, stream->second->loudness());
  }
  emit([&](auto& to) { to.onUserVoiceVolume(volumes, total); });
}

void Conference::experimental(const std::string& jsonText) {
  if (jsonText.size() > kLongestCall) {
    return warn(kWarnBadApiText, "an experimental call that is too long");
  }
  boost::json::error_code bad;
  const auto value = boost::json::parse(jsonText, bad);
  const auto api = bad ? std::nullopt : vemo_safeNSStringForKey(value.if_object(), "api");
  if (!api) {
    return warn(kWarnBadApiText, "an experimental call is a JSON object with a text \"api\"");
  }
  if (*api == "dropConnection") {
    if (visit_) visit_->dropConnection();
  } else if (*api == "losePackets") {
    const auto percent = vemo_safeNSNumberForKey(value.if_object(), "percent");
    const auto part = percent ? percent->as<std::int64_t>() : -1;
    if (part < 0 || part > 100) {
      return warn(kWarnBadApiText, "losePackets needs a \"percent\" from 0 to 100");
    }
    auto* publisher = visit_ ? visit_->publisher() : nullptr;
    if (publisher) publisher->losePackets(static_cast<unsigned>(part));
  } else {
    warn(kWarnUnknownApi, "unknown experimental call " + std::string(*api));
  }
}

void Conference::startSpeedTest(const std::string& userSig,
                                std::shared_ptr<const KOBUCloud::SpeedTestCompletion> completion) {
  std::vector<JanusConnection::Settings> all;
  const auto token = UserSignature::of(userSig).server;
  for (const auto& server : servers()) all.push_back(connectionTo(server, token));
  speedTest_ = std::make_unique<SpeedTest>(
      *thread_, std::move(all), LossTest::Settings{options_->adminKey, connectionForMedia()},
      std::move(completion),
      [log = log_](const std::string& text) { log->write(EngineLog::warning, text); });
}

}  // namespace vemo::janus
