#pragma once

#include <map>
#include <memory>
#include <string>

#include "bridge/VEMOUIRenderSource.h"
#include "recorder/ObjectNames.h"
#include "replay/ScenarioError.h"
#include "replay/ScriptedListener.h"

namespace vemo::replay {

/// The views and listeners that a scenario calls by name. Main thread.
class NamedObjects {
 public:
  /// Views are told to `names`, which outlives this.
  explicit NamedObjects(ObjectNames& names) : names_(names) {}

  /// The view called `name`, made when it is first named.
  std::shared_ptr<NativeView> view(const std::string& name);

  /// Keeps `listener` alive under its name; one that had the name before is let go.
  void addListener(std::shared_ptr<ScriptedListener> listener);
  /// The listener called `name`; a ScenarioError when none is kept under it.
  std::shared_ptr<ScriptedListener> listener(const std::string& name) const;
  /// Lets the listener called `name` go; a ScenarioError when none is kept under it.
  void releaseListener(const std::string& name);

  void clear();

 private:
  ScenarioError unknownListener(const std::string& name) const;

  ObjectNames& names_;
  std::map<std::string, std::shared_ptr<NativeView>> views_;
  std::map<std::string, std::shared_ptr<ScriptedListener>> listeners_;
};

}  // namespace vemo::replay
