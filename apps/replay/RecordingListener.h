#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Recorder.h"
#include "bridge/VEMOKOBUEventListener.h"

namespace vemo::replay {

/// Every operation of a listener, by name.
std::span<const std::string_view> listenerOperations();

/// A native listener that implements some of the operations and writes their calls.
class RecordingListener final : public VEMOKOBUEventListener {
 public:
  /// `operations`: those that it implements. `recorder` outlives it.
  RecordingListener(std::string name, std::vector<std::string> operations, Recorder& recorder)
      : name_(std::move(name)), operations_(std::move(operations)), recorder_(recorder) {}

  const std::string& name() const { return name_; }

  void onVEMOEnterRoom(std::int64_t result, const Text& selfId) override;
  void onVEMOExitRoom(std::int64_t reason, const Text& selfId) override;
  void onVEMORemoteUserEnterRoom(const Text& userId) override;
  void onVEMORemoteUserLeaveRoom(const Text& userId, std::int64_t reason) override;
  void onVEMOAudioRouteChanged(std::int64_t route, std::int64_t fromRoute) override;
  void onVEMOUserAudioAvailable(const Text& userId, bool available) override;
  void onVEMOUserVideoAvailable(const Text& userId, bool available) override;
  void onVEMOUserSubStreamAvailable(const Text& userId, bool available) override;
  void onVEMONetworkQuality(const Shared<KOBUQualityInfo>& localQuality,
                            const SharedList<KOBUQualityInfo>& remoteQuality) override;
  void onVEMOStatistics(const Shared<KOBUStatistics>& statistics) override;
  void onVEMOUserVoiceVolume(const SharedList<KOBUVolumeInfo>& userVolumes,
                             std::int64_t totalVolume) override;
  void onVEMOConnectionLost() override;
  void onVEMOTryToReconnect() override;
  void onVEMOConnectionRecovery() override;

 private:
  template <class... Args>
  void called(std::string_view operation, const Args&... args);

  const std::string name_;
  const std::vector<std::string> operations_;
  Recorder& recorder_;
};

}  // namespace vemo::replay
