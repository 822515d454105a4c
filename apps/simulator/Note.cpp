#include "simulator/Note.h"

#include "platform/VisibleText.h"

namespace vemo {

void note(VEMOLogger& logger, std::string_view text) {
  constexpr std::size_t kMaxBytes = 200;
  const auto shown = shortened(text, kMaxBytes);
  DUNLogParam record;
  record.level = DUNLogParam::kFailure;
  record.module = "vemo-simulator";
  record.actionName = "note";
  record.actionParam = shown;
  logger.log(record);
}

}  // namespace vemo
