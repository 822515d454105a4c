#pragma once

#include <map>
#include <mutex>
#include <string>

#include "bridge/CaptureAuthorization.h"

namespace vemo {

/// What was decided on cameras and microphones, for each origin of pages. What the user has decided
/// here is kept in a file; what the desktop keeps is not, and holds until this ends.
/// Any thread.
class Permissions {
 public:
  /// Reads `file`, which is made with the first decision; empty: nothing is kept.
  explicit Permissions(std::string file);
  Permissions(const Permissions&) = delete;
  Permissions& operator=(const Permissions&) = delete;

  AuthorizationStatus of(const std::string& origin, MediaType media) const;
  /// Says why it can't be kept beyond this run; empty when it is.
  std::string decide(const std::string& origin, MediaType media, bool allowed);
  /// What the desktop has decided, and will again.
  void decideForNow(const std::string& origin, MediaType media, bool allowed);

 private:
  struct Decision {
    bool allowed = false;
    bool isKept = true;
  };
  std::string save() const;

  const std::string file_;
  mutable std::mutex mutex_;
  std::map<std::string, std::map<MediaType, Decision>> decided_;
};

}  // namespace vemo
