#pragma once

#include <functional>

namespace vemo {

/// What a capture permission is for.
enum class MediaType { video, audio };

/// The user's decision on a capture permission.
enum class AuthorizationStatus { notDetermined = 0, restricted = 1, denied = 2, authorized = 3 };

/// The platform's camera and microphone authorisation.
class CaptureAuthorization {
 public:
  virtual ~CaptureAuthorization() = default;

  /// The present status; a value outside the enumeration counts as authorised. Any thread.
  virtual AuthorizationStatus authorizationStatus(MediaType media) const = 0;

  /// Asks the user and returns at once; `answer` is called once, on a thread of the
  /// platform's choice, with whether access was granted, or never if the user never
  /// answers. The platform holds `answer` until then. Any thread.
  virtual void requestAccess(MediaType media, std::function<void(bool granted)> answer) = 0;
};

}  // namespace vemo
