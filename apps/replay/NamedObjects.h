#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <unordered_set>

#include "RecordingListener.h"
#include "Values.h"

namespace vemo::replay {

/// The views and listeners that a scenario calls by name. Main thread; isViewAddress
/// from any while the main thread waits.
class NamedObjects {
 public:
  /// The view called `name`, made when it is first named.
  std::shared_ptr<NativeView> view(const std::string& name);

  /// Whether `address` is that of a view.
  bool isViewAddress(std::uintptr_t address) const { return viewAddresses_.contains(address); }

  /// Keeps `listener` alive under its name; one that had the name before is let go.
  void addListener(std::shared_ptr<RecordingListener> listener);
  /// The listener called `name`; a ScenarioError when none is kept under it.
  std::shared_ptr<RecordingListener> listener(const std::string& name) const;
  /// Lets the listener called `name` go; a ScenarioError when none is kept under it.
  void releaseListener(const std::string& name);

  void clear();

 private:
  ScenarioError unknownListener(const std::string& name) const;

  std::map<std::string, std::shared_ptr<NamedView>> views_;
  std::unordered_set<std::uintptr_t> viewAddresses_;
  std::map<std::string, std::shared_ptr<RecordingListener>> listeners_;
};

}  // namespace vemo::replay
