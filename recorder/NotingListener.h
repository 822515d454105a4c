#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "platform/ForwardingPlatform.h"
#include "recorder/Notes.h"

namespace vemo {

/// Every operation of a listener, by name.
std::span<const std::string_view> listenerOperations();

/// A native listener that notes what it hears under its name, and passes it on.
class NotingListener : public ForwardingVEMOKOBUEventListener {
 public:
  /// `target` as Forwarding holds it.
  template <class Target>
  NotingListener(std::shared_ptr<Notes> notes, std::string name, Target&& target)
      : ForwardingVEMOKOBUEventListener(std::forward<Target>(target)),
        notes_(std::move(notes)),
        name_(std::move(name)) {}

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

 protected:
  /// Whether what `operation` brings is noted.
  virtual bool notes(std::string_view /*operation*/) const { return true; }

 private:
  template <auto operation, class... Args>
  void hear(std::string_view name, const Args&... args);

  const std::shared_ptr<Notes> notes_;
  const std::string name_;
};

}  // namespace vemo
