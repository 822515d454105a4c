#pragma once

#include <boost/json/object.hpp>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "bridge/VEMOLogger.h"
#include "json/JsonText.h"

/// Writes records into the phone's own log, which takes a line on any thread and never waits. The
/// texts of a record are the caller's and are gone after the call.
class PhoneLogger final : public vemo::VEMOLogger {
 public:
  using Write = std::function<void(const std::string& line)>;

  explicit PhoneLogger(Write write) : write_(std::move(write)) {}

  void log(const vemo::DUNLogParam& record) override {
    boost::json::object fields;
    const auto add = [&](std::string_view name, const auto& value) {
      if (value) fields[name] = *value;
    };
    add("needReport", record.needReport);
    add("level", record.level);
    add("module", record.module);
    add("actionName", record.actionName);
    add("actionParam", record.actionParam);
    add("errorCode", record.errorCode);
    add("errorDesc", record.errorDesc);
    add("fileName", record.fileName);
    add("funcName", record.funcName);
    add("line", record.line);
    write_(vemo::jsonText(fields));
  }

  void updateLogConfig(const std::function<void(vemo::DUNLoggerConfig&)>& update) override {
    const std::lock_guard lock(mutex_);
    update(config_);
  }

 private:
  const Write write_;
  std::mutex mutex_;
  vemo::DUNLoggerConfig config_;
};
