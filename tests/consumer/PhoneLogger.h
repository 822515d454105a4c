#pragma once

#include <boost/json/object.hpp>
#include <functional>
#include <mutex>
#include <string>
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
    vemo::forEachField(record, [&](auto field, const auto& value) {
      if (value) fields[field.name] = *value;
    });
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
