#include "NamedObjects.h"

#include <utility>

namespace vemo::replay {

std::shared_ptr<NativeView> NamedObjects::view(const std::string& name) {
  auto& view = views_[name];
  if (!view) {
    view = std::make_shared<NamedView>(name);
    viewAddresses_.insert(reinterpret_cast<std::uintptr_t>(static_cast<NativeView*>(view.get())));
  }
  return view;
}

void NamedObjects::addListener(std::shared_ptr<RecordingListener> listener) {
  const auto name = listener->name();
  listeners_.insert_or_assign(name, std::move(listener));
}

std::shared_ptr<RecordingListener> NamedObjects::listener(const std::string& name) const {
  const auto found = listeners_.find(name);
  if (found == listeners_.end()) throw ScenarioError("unknown listener \"" + name + "\"");
  return found->second;
}

void NamedObjects::releaseListener(const std::string& name) {
  if (listeners_.erase(name) == 0) throw ScenarioError("unknown listener \"" + name + "\"");
}

void NamedObjects::clear() {
  listeners_.clear();
  views_.clear();
  viewAddresses_.clear();
}

}  // namespace vemo::replay
