#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "simulator/PageAddress.h"

namespace vemo {

struct SimulatorOptions {
  std::uint16_t port = 8377;
  std::string shellFolder;             ///< empty: the one that belongs to the program
  std::string pageFolder;              ///< of the page in the phones; empty: another page
  std::optional<PageAddress> pageUrl;  ///< of the page in the phones; with neither, the classroom
  std::uint64_t seed = 1;
  std::size_t roomCapacity = 50;
  std::string logFile;       ///< empty: standard error
  std::string recordFolder;  ///< empty: nothing is recorded
  bool help = false;
  bool version = false;
};

/// What the command line says; nothing, with a sentence in `error`, when it says it
/// wrongly.
std::optional<SimulatorOptions> optionsFrom(int argc, char** argv, std::string& error);

/// The text of --help.
std::string usage();

}  // namespace vemo
