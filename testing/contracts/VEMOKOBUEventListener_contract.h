#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

#include "bridge/VEMOKOBUEventListener.h"

namespace vemo {

/// What every VEMOKOBUEventListener must bear: each operation with everything that the
/// engine may give, absent texts and null records included. A Maker has:
///   std::shared_ptr<VEMOKOBUEventListener> listener();
///   bool lives();  whether the listener is as well as before
template <class Maker>
class VEMOKOBUEventListenerContract : public ::testing::Test {
 protected:
  Maker maker_;
};

TYPED_TEST_SUITE_P(VEMOKOBUEventListenerContract);

TYPED_TEST_P(VEMOKOBUEventListenerContract, BearsWhateverTheEngineGives) {
  const auto listener = this->maker_.listener();
  ASSERT_NE(listener, nullptr);
  KOBUStatistics statistics;
  statistics.remoteStatistics.emplace_back();
  const auto qualities = std::make_shared<const std::vector<KOBUQualityInfo>>(2);
  const auto volumes = std::make_shared<const std::vector<KOBUVolumeInfo>>(2);
  for (const Text& userId : {Text(), Text(""), Text("ann")}) {
    listener->onVEMOEnterRoom(-3301, userId);
    listener->onVEMOExitRoom(2, userId);
    listener->onVEMORemoteUserEnterRoom(userId);
    listener->onVEMORemoteUserLeaveRoom(userId, -1);
    listener->onVEMOUserAudioAvailable(userId, true);
    listener->onVEMOUserVideoAvailable(userId, false);
    listener->onVEMOUserSubStreamAvailable(userId, true);
  }
  listener->onVEMOAudioRouteChanged(-1, 99);
  listener->onVEMONetworkQuality(nullptr, nullptr);
  listener->onVEMONetworkQuality(std::make_shared<const KOBUQualityInfo>(), qualities);
  listener->onVEMOStatistics(nullptr);
  listener->onVEMOStatistics(std::make_shared<const KOBUStatistics>(std::move(statistics)));
  listener->onVEMOUserVoiceVolume(nullptr, 0);
  listener->onVEMOUserVoiceVolume(volumes, 100);
  listener->onVEMOConnectionLost();
  listener->onVEMOTryToReconnect();
  listener->onVEMOConnectionRecovery();
  EXPECT_TRUE(this->maker_.lives());
}

REGISTER_TYPED_TEST_SUITE_P(VEMOKOBUEventListenerContract, BearsWhateverTheEngineGives);

}  // namespace vemo
