#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "bridge/KOBUCloudDelegate.h"
#include "json/Arguments.h"

namespace vemo::test {

/// A command as the protocol tells it, and the message that a page sends with its example.
struct SampleCommand {
  enum class Answered : std::uint8_t { once, onceLater, onceAtMost, often };

  std::string name;
  Answered answered = Answered::once;
  std::string beforeCbid, afterCbid;
};
/// All commands, in the order of the protocol.
const std::vector<SampleCommand>& sampleCommands();

/// An event, ready to be told.
struct SampleEvent {
  std::string name;
  BoundCall<KOBUCloudDelegate> tell;
};
/// Every event, with everything given and with whatever may be absent so.
const std::vector<SampleEvent>& sampleEvents();

}  // namespace vemo::test
