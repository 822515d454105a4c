#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "bridge/EngineCodes.h"
#include "bridge/VEMOModule.h"

// The errors that commands fail with by themselves, each told once: handlers return them, rows
// tell pages of them. What a command fails with for want of a parameter is told there.

namespace vemo {

inline constexpr std::int64_t kBadParameter = -1;
inline constexpr std::int64_t kNotAvailable = -2;  // no engine, or what is asked for is missing
inline constexpr std::int64_t kNotInRoom = -3;
inline constexpr std::int64_t kCameraRefused = -1314;
inline constexpr std::int64_t kMicrophoneRefused = -1317;

/// The errors of the engine by which it says that an enter has failed.
inline constexpr std::array<std::int32_t, 8> kEndOfEnter{
    kEnterRefused,   kEnterTimedOut,  kEnterRoomFull,     kEnterUnknownApplication,
    kEnterBadRoomId, kEnterBadUserId, kEnterBadSignature, kServiceSuspended};

/// A way in which a command fails. A code of 0 is the engine's or a download's, an empty text
/// the engine's, a device's or a download's own.
struct ErrorWords {
  std::int64_t code = 0;
  std::string_view text;
  std::string_view when;
  VEMOModule module = VEMOModule::JS;
};

namespace error {

inline constexpr ErrorWords noEngine{kNotAvailable, "not initSDK", "there is no engine"};
inline constexpr ErrorWords engineThere{kNotAvailable, "had initSDK",
                                        "the engine is there already"};
inline constexpr ErrorWords noRoom{kNotInRoom, "not enter room",
                                   "no enter has ended since the last \"enterRoom\", \"exitRoom\" "
                                   "or \"uninitSDK\""};

// The views that the host has: for the own picture, and for the others.
inline constexpr ErrorWords noOwnSource{kBadParameter, "not set render source",
                                        "the host has no source of views"};
inline constexpr ErrorWords noOwnView{kBadParameter, "not found self render source",
                                      "the host has no view for the own user", VEMOModule::KOBU};
inline constexpr ErrorWords noSource{kNotAvailable, "no render source",
                                     "the host has no source of views", VEMOModule::KOBU};
inline constexpr ErrorWords noView{kNotAvailable, "no found render view",
                                   "the host has no view for the user", VEMOModule::KOBU};

inline constexpr ErrorWords cameraRefused{
    kCameraRefused,
    {},
    "the user does not permit the camera; the text tells how it came",
    VEMOModule::KOBU};
inline constexpr ErrorWords microphoneRefused{
    kMicrophoneRefused,
    {},
    "the user does not permit the microphone; the text tells how it came",
    VEMOModule::KOBU};

inline constexpr ErrorWords noImageData{kNotAvailable, "download image is nil",
                                        "the downloaded file can't be read", VEMOModule::KOBU};

inline constexpr ErrorWords musicNotStarted{
    0, "play onStart error", "the music can't be started: the engine's code", VEMOModule::KOBU};
inline constexpr ErrorWords musicBroken{
    0, "play onComplete error", "the music breaks off: the engine's code", VEMOModule::KOBU};

inline constexpr ErrorWords noLaunch{kBadParameter, "not support launchScreenKit",
                                     "the system is older than 11.0"};
inline constexpr ErrorWords noCapture{
    kNotAvailable, "not support screencapture",
    "the system is older than 13.0 for mode 1, than 11.0 for mode 2"};
/// Of pausing, resuming and stopping.
inline constexpr ErrorWords noCaptureControl{kNotAvailable, noCapture.text,
                                             "the system is older than 11.0", VEMOModule::KOBU};
inline constexpr ErrorWords pauseFailed{0, "pauseScreenCapture call failed",
                                        "the engine refuses: its result", VEMOModule::KOBU};
inline constexpr ErrorWords resumeFailed{0, "resumeScreenCapture call failed",
                                         "the engine refuses: its result", VEMOModule::KOBU};
inline constexpr ErrorWords stopFailed{0, "stopScreenCapture call failed",
                                       "the engine refuses: its result", VEMOModule::KOBU};

// Of commands that need one of several parameters; the row's list of them says when.
inline constexpr ErrorWords noMusicGiven{kBadParameter, "no audioId param", {}};
inline constexpr ErrorWords noVolumeGiven{kBadParameter, "params error", {}};

}  // namespace error
}  // namespace vemo
