#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/ByteBudget.h"
#include "simulator/PageAddress.h"

namespace vemo {

struct WebServerOptions {
  std::uint16_t port = 0;             ///< 0: any free one
  std::filesystem::path shellFolder;  ///< what is served, subfolders included
  /// Served at "/page/", if not empty, for the phones; and at "/" where the shell has no such file.
  std::filesystem::path pageFolder;
  std::optional<PageAddress> page;  ///< for the phones, where another server has their page
  /// What the address of a WebSocket must carry, "/phone?token=..."; with an empty one nobody
  /// connects.
  std::string token;
  /// Longer frames of a page end its connection. A page message travels quoted in a
  /// frame, which can make it longer by half or more.
  std::size_t maxFrameBytes = std::size_t{4} << 20U;
  /// What a page may send; each frame counts as kFrameBytes more than its length. A page that
  /// sends more is cut off, and told so.
  ByteRate pageRate{std::size_t{64} << 20U, std::size_t{8} << 20U};
  static constexpr std::size_t kFrameBytes = 1024;
  /// A page for which more than this waits to be sent is dropped.
  std::size_t maxUnsentBytes = std::size_t{16} << 20U;
  /// How many pages are served at once; one more is refused with status 503.
  std::size_t maxPages = 100;
  /// How many other connections there may be: one more ends the one whose request has
  /// been waited for longest.
  std::size_t maxVisitors = 256;
  /// Until a request must have come whole, from when the connection was made or, for a
  /// later one, from the end of the answer before it.
  std::chrono::milliseconds requestTimeout{5'000};
  /// Takes a line for the operator that is about no page. Server's thread; returns at once.
  std::function<void(std::string_view line)> note = [](std::string_view) {};
};

}  // namespace vemo
