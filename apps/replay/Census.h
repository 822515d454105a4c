#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace vemo::replay {

/// Watches objects without keeping them, to tell in the end which outlived the run.
/// Main thread.
class Census {
 public:
  /// `kind` names the object in the report.
  void watch(std::string kind, std::weak_ptr<const void> object) {
    if (objects_.size() >= sweepAt_) {
      std::erase_if(objects_, [](const auto& entry) { return entry.second.expired(); });
      sweepAt_ = std::max<std::size_t>(64, 2 * objects_.size());
    }
    objects_.emplace_back(std::move(kind), std::move(object));
  }

  /// How many of each kind are alive.
  std::map<std::string, int> alive() const {
    std::map<std::string, int> counts;
    for (const auto& [kind, object] : objects_) {
      if (!object.expired()) ++counts[kind];
    }
    return counts;
  }

 private:
  std::vector<std::pair<std::string, std::weak_ptr<const void>>> objects_;
  std::size_t sweepAt_ = 64;
};

}  // namespace vemo::replay
