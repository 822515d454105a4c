#pragma once

#include <map>
#include <mutex>
#include <string>

#include "bridge/CaptureAuthorization.h"

namespace vemo {

/// What the user has decided on cameras and microphones, for each origin of pages, kept in a file.
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

 private:
  std::string save() const;

  const std::string file_;
  mutable std::mutex mutex_;
  std::map<std::string, std::map<MediaType, bool>> decided_;
};

}  // namespace vemo
