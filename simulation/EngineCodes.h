#pragma once

#include <cstdint>

namespace vemo {

// The codes that the simulated engine reports.

// Failures of entering a room: onError with the code, then onEnterRoom with it.
inline constexpr std::int32_t kEnterRefused = -3301;    ///< such as an unknown role
inline constexpr std::int32_t kEnterTimedOut = -3308;   ///< no answer: no connection
inline constexpr std::int32_t kEnterCancelled = -3309;  ///< by an exit on the way in
inline constexpr std::int32_t kEnterRoomFull = -3316;
inline constexpr std::int32_t kEnterUnknownApplication = -3317;
inline constexpr std::int32_t kEnterBadRoomId = -3318;  ///< room id 0
inline constexpr std::int32_t kEnterBadUserId = -3319;  ///< absent, empty or too long
inline constexpr std::int32_t kEnterBadSignature = -3320;
inline constexpr std::int32_t kServiceSuspended = -100013;

/// Entering while in a room or on the way into one; the room is kept. Reported like
/// the failures above.
inline constexpr std::int32_t kAlreadyInRoom = -3302;

// Failures of switching the role: onSwitchRole with the code. kEnterTimedOut too.
inline constexpr std::int32_t kSwitchOutsideRoom = -3303;
inline constexpr std::int32_t kSwitchUnknownRole = -3304;

// Screen capture: results of pausing, resuming and stopping.
inline constexpr std::int64_t kNotCapturing = -3310;

// Music: codes of the start callback.
inline constexpr std::int64_t kMusicNotFound = -4001;
inline constexpr std::int64_t kMusicBadRange = -4002;  ///< nothing lies between start and end
inline constexpr std::int64_t kMusicTooMany = -4003;   ///< as many play as the engine can

/// Result of switching the camera while it is off; the choice is kept all the same.
inline constexpr std::int32_t kCameraOff = -1301;

// Warnings: onWarning.
inline constexpr std::int32_t kWarnBadValue = 1101;        ///< a number or text that can't be used
inline constexpr std::int32_t kWarnUnknownApi = 1102;      ///< an experimental call it doesn't know
inline constexpr std::int32_t kWarnBadApiText = 1103;      ///< an experimental call that is no JSON
inline constexpr std::int32_t kWarnCaptureRunning = 1104;  ///< screen capture started twice
inline constexpr std::int32_t kWarnTooManyUsers = 1105;    ///< see kMostUsersKept

// Audio routes.
inline constexpr std::int32_t kRouteSpeaker = 0;
inline constexpr std::int32_t kRouteEarpiece = 1;

}  // namespace vemo
