#include "replay/NamedObjects.h"

#include <ranges>
#include <utility>

#include "replay/Nearest.h"

namespace vemo::replay {

std::shared_ptr<NativeView> NamedObjects::view(const std::string& name) {
  auto& view = views_[name];
  if (!view) {
    view = std::make_shared<NativeView>();
    names_.give(*view, name);
  }
  return view;
}

void NamedObjects::addListener(std::shared_ptr<ScriptedListener> listener) {
  const auto name = listener->name();
  listeners_.insert_or_assign(name, std::move(listener));
}

std::shared_ptr<ScriptedListener> NamedObjects::listener(const std::string& name) const {
  const auto found = listeners_.find(name);
  if (found == listeners_.end()) throw unknownListener(name);
  return found->second;
}

ScenarioError NamedObjects::unknownListener(const std::string& name) const {
  // NOLINTNEXTLINE(modernize-return-braced-init-list): its constructor is explicit
  return ScenarioError("unknown listener \"" + name + '"' +
                       didYouMean(name, std::views::keys(listeners_)));
}

void NamedObjects::releaseListener(const std::string& name) {
  if (listeners_.erase(name) == 0) throw unknownListener(name);
}

void NamedObjects::clear() {
  listeners_.clear();
  views_.clear();
}

}  // namespace vemo::replay
