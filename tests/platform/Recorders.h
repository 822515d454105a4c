#pragma once

#include <boost/json/object.hpp>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "json/JsonText.h"
#include "testing/NullPlatform.h"

namespace vemo {

/// A logger that keeps records: each field by name, in the record's order.
class RecordingLogger final : public NullVEMOLogger {
 public:
  void log(const DUNLogParam& record) override {
    boost::json::object fields;
    forEachField(record, [&](auto field, const auto& value) {
      if (value) fields.emplace(field.name, *value);
    });
    const std::lock_guard lock(mutex_);
    records_.push_back(jsonText(fields));
  }

  std::vector<std::string> records() const {
    const std::lock_guard lock(mutex_);
    return records_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> records_;
};

/// A web view that keeps its scripts, with whether they are to be logged.
class RecordingWebView final : public VEMOWebView {
 public:
  using Script = std::pair<std::string, bool>;

  void loadJs(const std::string& script, bool needLog) override {
    const std::lock_guard lock(mutex_);
    scripts_.emplace_back(script, needLog);
  }

  std::vector<Script> scripts() const {
    const std::lock_guard lock(mutex_);
    return scripts_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Script> scripts_;
};

}  // namespace vemo
