#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "bridge/EngineCodes.h"
#include "simulation/ClassroomCloud.h"
#include "testing/RecordingDelegate.h"

namespace vemo {

using std::chrono::milliseconds;
using Lines = std::vector<std::string>;

inline constexpr std::uint32_t kApplication = 1400;
inline constexpr std::uint32_t kRoom = 101;

inline KOBUParams paramsOf(const std::string& userId, std::int32_t role = kKOBURoleAnchor) {
  KOBUParams params;
  params.sdkAppId = kApplication;
  params.roomId = kRoom;
  params.userId = userId;
  params.userSig = "signature of " + userId;
  params.role = role;
  return params;
}

/// A handset, its engine and what that reported.
struct TestHandset {
  std::shared_ptr<SimulatedEngineClass> engineClass;
  std::shared_ptr<KOBUCloud> engine;
  std::shared_ptr<RecordingDelegate> events;

  KOBUCloud* operator->() const { return engine.get(); }
  EngineSnapshot snapshot() const { return engineClass->snapshot().value(); }
};

/// A cloud on a clock that is driven by hand. Its network has no jitter, so that
/// times are known: 10 ms a way, 60 ms to enter.
struct Classroom {
  static CloudOptions steady() {
    CloudOptions options;
    options.network = {milliseconds(10), milliseconds(0), 0, 0};
    options.musicDuration = [](const std::string& path) -> std::optional<milliseconds> {
      if (path == "song.mp3") return milliseconds(1000);
      return std::nullopt;
    };
    return options;
  }

  explicit Classroom(CloudOptions options = steady()) {
    options.clock = clock;
    cloud = std::make_unique<ClassroomCloud>(std::move(options));
  }

  TestHandset handset() {
    TestHandset made;
    made.engineClass = cloud->makeEngineClass();
    made.engine = made.engineClass->sharedInstance();
    made.events = std::make_shared<RecordingDelegate>();
    made.engine->setDelegate(made.events);
    return made;
  }

  /// A handset that has entered; its events until then are forgotten.
  TestHandset entered(const std::string& userId, std::int32_t role = kKOBURoleAnchor) {
    auto made = handset();
    made->enterRoom(paramsOf(userId, role), 0);
    advance(100);
    made.events->take();
    return made;
  }

  void advance(int ms) { clock->advance(milliseconds(ms)); }

  const std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
  std::unique_ptr<ClassroomCloud> cloud;
};

}  // namespace vemo
