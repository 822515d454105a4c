#include <algorithm>

#include "simulation/Client.h"
#include "simulation/Quality.h"

namespace vemo {
namespace {

constexpr std::uint32_t kEverythingLost = 100;

std::uint32_t passed(std::uint32_t bitrate, std::uint32_t loss) {
  return bitrate * (100 - std::min(loss, 100U)) / 100;
}

void setVideo(auto& statistics, const VideoStream& stream) {
  statistics.width = stream.width;
  statistics.height = stream.height;
  statistics.frameRate = stream.fps;
  statistics.videoBitrate = stream.bitrate;
}

std::uint64_t bytesIn(const auto& streams, Clock::Time time) {
  std::uint64_t kilobits = 0;
  for (const auto& stream : streams) kilobits += stream.videoBitrate + stream.audioBitrate;
  return kilobits * static_cast<std::uint64_t>(time.count()) / 8;
}

}  // namespace

std::vector<KOBULocalStatistics> Client::measureSent() const {
  std::vector<KOBULocalStatistics> sent;
  const auto add = [&sent](std::int32_t streamType) -> auto& {
    auto& statistics = sent.emplace_back();
    statistics.streamType = streamType;
    return statistics;
  };
  if (sends(MediaKind::audio) || sends(MediaKind::video)) {
    auto& main = add(kKOBUStreamTypeMain);
    if (sends(MediaKind::audio)) {
      const auto stream = audioStream(audio.quality);
      main.audioSampleRate = stream.sampleRate;
      main.audioBitrate = stream.bitrate;
    }
    if (sends(MediaKind::video)) setVideo(main, cameraStream(video.encoder));
  }
  if (sends(MediaKind::video) && video.smallStream) {
    setVideo(add(kKOBUStreamTypeMainSmall), smallStream(*video.smallStream));
  }
  if (sends(MediaKind::subStream)) {
    setVideo(add(kKOBUStreamTypeSub), captureStream());
  }
  return sent;
}

std::vector<KOBURemoteStatistics> Client::measureReceived() const {
  std::vector<KOBURemoteStatistics> received;
  if (!room_) return received;
  for (const auto& [user, known] : known_) {
    const auto publisher = room_->find(user);
    if (!known.visible || !publisher) continue;
    const auto loss = publisher->isCutOff()
                          ? kEverythingLost
                          : combinedLoss(publisher->network().upLoss, network().downLoss);
    const auto add = [&](std::int32_t streamType) -> auto& {
      auto& statistics = received.emplace_back();
      statistics.userId = user;
      statistics.streamType = streamType;
      statistics.packetLoss = loss;
      statistics.jitterBufferDelay = static_cast<std::uint32_t>(
          20 + 4 * (publisher->network().jitter + network().jitter).count());
      return statistics;
    };
    // What a user that is cut off showed last counts too, as a stream of nothing.
    const auto isShown = [&](MediaKind kind) {
      return publisher->isCutOff() ? receives(user, kind) : flows(user, kind);
    };
    const auto addVideo = [&](KOBURemoteStatistics& statistics, MediaKind kind) {
      setVideo(statistics, pictureOf(user, kind));
      statistics.videoBitrate = passed(statistics.videoBitrate, loss);
    };
    const bool hears = isShown(MediaKind::audio);
    const bool sees = isShown(MediaKind::video);
    if (hears || sees) {
      auto& main = add(sees ? shownStream(user, MediaKind::video) : kKOBUStreamTypeMain);
      if (hears) {
        const auto stream = audioStream(publisher->audio.quality);
        main.audioSampleRate = stream.sampleRate;
        main.audioBitrate = passed(stream.bitrate, loss);
      }
      if (sees) addVideo(main, MediaKind::video);
    }
    if (isShown(MediaKind::subStream)) addVideo(add(kKOBUStreamTypeSub), MediaKind::subStream);
  }
  return received;
}

void Client::measure(Time period) {
  const auto& own = network();
  const auto rtt = roundTrip() + world_.randomTime(own.jitter);

  auto local = std::make_shared<KOBUQualityInfo>();
  local->quality = isCutOff() ? kQualityUnusable : qualityOf(own.upLoss, own.downLoss, rtt);
  auto remote = std::make_shared<std::vector<KOBUQualityInfo>>();
  for (const auto& [user, known] : known_) {
    if (!known.visible) continue;
    auto& quality = remote->emplace_back(KOBUQualityInfo{user, kQualityUnusable});
    const auto publisher = room_ ? room_->find(user) : nullptr;
    if (isCutOff() || !publisher || publisher->isCutOff()) continue;
    quality.quality =
        qualityOf(publisher->network().upLoss, own.downLoss, publisher->roundTrip() + roundTrip());
  }

  auto statistics = std::make_shared<KOBUStatistics>();
  statistics->rtt = isCutOff() ? 0 : static_cast<std::uint32_t>(rtt.count());
  statistics->upLoss = isCutOff() ? kEverythingLost : own.upLoss;
  statistics->downLoss = isCutOff() ? kEverythingLost : own.downLoss;
  statistics->localStatistics = measureSent();
  statistics->remoteStatistics = measureReceived();
  sentBytes_ += bytesIn(statistics->localStatistics, period);
  receivedBytes_ += bytesIn(statistics->remoteStatistics, period);
  statistics->sentBytes = sentBytes_;
  statistics->receivedBytes = receivedBytes_;
  const auto streams = statistics->localStatistics.size() + statistics->remoteStatistics.size();
  statistics->appCpu = std::min(4 + 3 * static_cast<std::uint32_t>(streams), 90U);
  statistics->systemCpu = statistics->appCpu + 8;

  emit([local, remote](auto& to) { to.onNetworkQuality(local, remote); });
  emit([statistics](auto& to) { to.onStatistics(statistics); });
}

std::uint32_t Client::heard(const std::string& user) const {
  if (!flows(user, MediaKind::audio)) return 0;
  const auto wish = wishes.find(user);
  const auto volume = wish == wishes.end() ? 100 : wish->second.volume;
  return room_->find(user)->loudness() * static_cast<std::uint32_t>(volume) / 100;
}

void Client::listen() {
  auto volumes = std::make_shared<std::vector<KOBUVolumeInfo>>();
  volumes->push_back({std::nullopt, loudness()});
  std::uint32_t total = 0;
  for (const auto& [user, known] : known_) {
    if (!known.visible || !receives(user, MediaKind::audio)) continue;
    const auto volume = heard(user);
    volumes->push_back({user, volume});
    total = std::max(total, volume);
  }
  emit([volumes, total](auto& to) { to.onUserVoiceVolume(volumes, total); });
}

}  // namespace vemo
