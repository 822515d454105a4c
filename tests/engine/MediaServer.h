#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "engine/EngineOptions.h"
#include "engine/JanusEngine.h"
#include "engine/SignedToken.h"

namespace vemo {

/// The address in the network of this process's own, from which nothing leaves the machine. Where
/// such a network can't be had, or no media server, all tests of the program are skipped.
inline constexpr const char* kAddress = "10.99.0.1";

/// A real media server in that network.
class MediaServer {
 public:
  /// Waits until it is ready. `options`: more of vemo-server.
  explicit MediaServer(std::vector<std::string> options = {});
  ~MediaServer();
  MediaServer(const MediaServer&) = delete;
  MediaServer& operator=(const MediaServer&) = delete;

  void stop();   ///< cleanly, waiting for its end
  void start();  ///< again, on the same port

  std::string url() const;
  double secondsUsed() const;  ///< of processor time, by the media server itself
  static std::string signature(std::uint32_t room,
                               std::chrono::seconds lasts = std::chrono::hours(1));
  static KOBUParams params(const std::string& user, std::uint32_t room = 7);

 private:
  const std::vector<std::string> options_;
  std::string folder_;
  int process_ = 0;
};

/// Options of an engine with test pictures and tones, that uses `server`.
EngineOptions testOptions(const std::string& server);

}  // namespace vemo
