#include "simulation/SpeedTest.h"

#include <utility>

#include "simulation/Client.h"
#include "simulation/Quality.h"

namespace vemo {
namespace {

constexpr Clock::Time kMeasuring{300};

}  // namespace

void SpeedTest::start(std::shared_ptr<const Completion> completion) {
  stop();
  completion_ = std::move(completion);
  measureNext(0);
}

void SpeedTest::stop() {
  timer_.reset();
  client_.world().discard(std::exchange(completion_, nullptr));
}

void SpeedTest::measureNext(std::size_t index) {
  client_.later(kMeasuring, timer_, [index](Client& client) { client.speedTest.measured(index); });
}

void SpeedTest::measured(std::size_t index) {
  auto& world = client_.world();
  const auto& servers = world.options().speedTestServers;
  std::shared_ptr<KOBUSpeedTestResult> result;
  if (index < servers.size()) {
    const auto& server = servers[index];
    const auto& network = client_.network();
    result = std::make_shared<KOBUSpeedTestResult>();
    result->ip = server.ip;
    if (client_.handset().isConnected()) {
      const auto rtt = 2 * (network.delay + server.distance) + world.randomTime(network.jitter);
      result->quality = qualityOf(network.upLoss, network.downLoss, rtt);
      result->upLostRate = network.upLoss / 100.0;
      result->downLostRate = network.downLoss / 100.0;
      result->rtt = static_cast<std::int32_t>(rtt.count());
    } else {
      result->quality = kQualityUnusable;
      result->upLostRate = result->downLostRate = 1;
    }
  }

  const auto total = static_cast<std::int64_t>(servers.size());
  const auto completed = result ? static_cast<std::int64_t>(index) + 1 : total;
  const bool isLast = completed == total;
  client_.callBackTo(completion_, isLast, [result, completed, total](auto& to) {
    if (to) to(result, completed, total);
  });
  if (isLast) {
    stop();
  } else {
    measureNext(index + 1);
  }
}

}  // namespace vemo
