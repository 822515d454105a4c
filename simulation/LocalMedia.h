#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "bridge/ImageDecoder.h"
#include "bridge/KOBURecords.h"
#include "bridge/VEMOUIRenderSource.h"

namespace vemo {

// What a client does with its own camera, microphone and screen: live state, changed under
// the world's lock. A snapshot (EngineSnapshot.h) holds copies.

struct LocalVideo {
  bool cameraOn = false;
  bool front = true;
  bool muted = false;
  std::shared_ptr<NativeView> view;
  std::shared_ptr<VEMOImage> muteImage;
  std::int32_t muteImageFps = 0;
  KOBUVideoEncParam encoder;
  std::int32_t encoderRotation = 0;
  bool encoderMirror = false;
  std::int32_t sensorMode = 0;
  KOBURenderParams renderParams;
  std::optional<KOBUVideoEncParam> smallStream;  ///< present when it is sent
  KOBUNetworkQosParam qos;
};

/// A volume as an engine takes it.
inline std::int32_t volumeWithin(std::int32_t volume) { return std::clamp(volume, 0, 100); }

struct LocalAudio {
  bool microphoneOn = false;
  std::int32_t quality = 0;
  bool muted = false;
  std::int32_t captureVolume = 100;
  std::int32_t playoutVolume = 100;
  std::int32_t route = 0;
  std::int32_t volumeIntervalMs = 0;  ///< 0: no volume events
};

enum class CaptureState { idle, capturing, paused };

struct ScreenCapture {
  CaptureState state = CaptureState::idle;
  bool broadcast = false;  ///< by the broadcast extension, else inside the application
  std::string appGroup;
  KOBUVideoEncParam encoder;
};

}  // namespace vemo
