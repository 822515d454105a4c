#pragma once

#include <cstdint>

namespace vemo {

// The codes and reasons that engines report, the simulated one and the real one alike, in groups.
// The reference for pages is made from these lines: what stands over a group says where its codes
// come, what stands beside a code what it means.

// Entering fails: "onError", then "onEnterRoom" with the code as "elapsed".
inline constexpr std::int32_t kEnterRefused = -3301;             ///< refused, such as for its role
inline constexpr std::int32_t kEnterTimedOut = -3308;            ///< no answer: no connection
inline constexpr std::int32_t kEnterCancelled = -3309;           ///< left on the way in
inline constexpr std::int32_t kEnterRoomFull = -3316;            ///< the room is full
inline constexpr std::int32_t kEnterUnknownApplication = -3317;  ///< an unknown application
inline constexpr std::int32_t kEnterBadRoomId = -3318;           ///< no number of a room: 0
inline constexpr std::int32_t kEnterBadUserId = -3319;           ///< no user, or too long a name
inline constexpr std::int32_t kEnterBadSignature = -3320;        ///< a bad signature
inline constexpr std::int32_t kServiceSuspended = -100013;       ///< the service is suspended
inline constexpr std::int32_t kAlreadyInRoom = -3302;  ///< in a room already, which is kept

// A change of role fails: "onSwitchRole"; with -3308 too.
inline constexpr std::int32_t kSwitchOutsideRoom = -3303;  ///< outside a room
inline constexpr std::int32_t kSwitchUnknownRole = -3304;  ///< an unknown role

// Why the own user is out of the room: "reason" of "onExitRoom".
inline constexpr std::int64_t kExitLeft = 0;       ///< left
inline constexpr std::int64_t kExitRemoved = 1;    ///< removed by the server
inline constexpr std::int64_t kExitDismissed = 2;  ///< the room was dismissed

// Why another user is an anchor here no longer: "reason" of "onRemoteUserLeaveRoom".
inline constexpr std::int64_t kLeaveLeft = 0;      ///< left
inline constexpr std::int64_t kLeaveTimedOut = 1;  ///< lost its connection
inline constexpr std::int64_t kLeaveRemoved = 2;   ///< removed by the server
inline constexpr std::int64_t kLeaveAudience = 3;  ///< became audience

// Results of pausing, resuming and stopping screen capture.
inline constexpr std::int64_t kNotCapturing = -3310;  ///< nothing is captured

// The start of music.
inline constexpr std::int64_t kMusicNotFound = -4001;  ///< no such music
inline constexpr std::int64_t kMusicBadRange = -4002;  ///< nothing lies between start and end
inline constexpr std::int64_t kMusicTooMany = -4003;   ///< as many play as the engine can

// Result of switching the camera, for native code.
inline constexpr std::int32_t kCameraOff = -1301;  ///< the camera is off; the choice is kept

// Warnings: "onWarning".
inline constexpr std::int32_t kWarnBadValue = 1101;        ///< a number or text that can't be used
inline constexpr std::int32_t kWarnUnknownApi = 1102;      ///< an experimental call it doesn't know
inline constexpr std::int32_t kWarnBadApiText = 1103;      ///< an experimental call that is no JSON
inline constexpr std::int32_t kWarnCaptureRunning = 1104;  ///< screen capture started twice
inline constexpr std::int32_t kWarnTooManyUsers = 1105;  ///< settings for more users than it keeps
inline constexpr std::int32_t kWarnDevice = 1106;  ///< a camera, microphone, speaker or screen

// Audio routes.
inline constexpr std::int32_t kRouteSpeaker = 0;   ///< the loudspeaker
inline constexpr std::int32_t kRouteEarpiece = 1;  ///< the earpiece

}  // namespace vemo
