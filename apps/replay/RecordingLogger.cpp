#include "RecordingLogger.h"

#include <charconv>
#include <optional>

#include "Values.h"

namespace vemo::replay {
namespace {

template <class T>
void put(json::object& fields, std::string_view name, const std::optional<T>& value) {
  if (value) fields.emplace(name, *value);
}

/// Only this operation of the host logs the address of a view that may be null.
bool logsNullView(const DUNLogParam& record) {
  return record.actionName && record.actionName->starts_with("startLocalPreivew");
}

}  // namespace

std::string RecordingLogger::masked(const DUNLogParam& record) const {
  const std::string_view text = *record.actionParam;
  std::string out;
  std::size_t from = 0;
  for (auto at = text.find("0x"); at != std::string_view::npos; at = text.find("0x", at + 2)) {
    std::uintptr_t address = 0;
    const char* const digits = text.data() + at + 2;
    const auto [end, problem] = std::from_chars(digits, text.data() + text.size(), address, 16);
    if (problem != std::errc{}) continue;
    const bool known = address == 0 ? logsNullView(record)
                                    : address == webView_ || objects_.isViewAddress(address);
    if (!known) continue;
    out.append(text, from, at - from).append("0x*");
    from = static_cast<std::size_t>(end - text.data());
  }
  return out.append(text, from);
}

void RecordingLogger::log(const DUNLogParam& record) {
  json::object fields;
  put(fields, "needReport", record.needReport);
  put(fields, "level", record.level);
  put(fields, "module", record.module);
  put(fields, "actionName", record.actionName);
  if (record.actionParam) fields.emplace("actionParam", masked(record));
  put(fields, "errorCode", record.errorCode);
  put(fields, "errorDesc", record.errorDesc);
  put(fields, "fileName", record.fileName);
  put(fields, "funcName", record.funcName);
  put(fields, "line", record.line);
  recorder_.write("log", {{"record", std::move(fields)}});
}

void RecordingLogger::updateLogConfig(const std::function<void(DUNLoggerConfig&)>& update) {
  update(config_);
  recorder_.write("loggerConfig", {{"sdkAppId", config_.sdkAppId}});
}

}  // namespace vemo::replay
