#include "simulator/OperatorLog.h"

#include "platform/VisibleText.h"

namespace vemo {

namespace {

void write(VEMOLogger& logger, int level, std::string_view action, std::string_view text) {
  constexpr std::size_t kMaxBytes = 200;
  const auto shown = shortened(text, kMaxBytes);
  DUNLogParam record;
  record.level = level;
  record.module = "vemo-simulator";
  record.actionName = action;
  record.actionParam = shown;
  logger.log(record);
}

}  // namespace

void tellOperator(VEMOLogger& logger, std::string_view text) {
  write(logger, DUNLogParam::kFailure, "note", text);
}

void logFrame(VEMOLogger& logger, std::string_view what, std::string_view frame) {
  write(logger, DUNLogParam::kInformation, what, frame);
}

}  // namespace vemo
