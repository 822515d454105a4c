#include "json/EngineEvents.h"

#include <algorithm>
#include <array>
#include <string>
#include <tuple>

namespace vemo {
namespace {

using Event = NamedOperation<KOBUCloudDelegate, Arguments>;

constexpr auto events = std::apply(
    []<auto... operation>(const EngineEvent<operation>&... event) {
      return std::array{Event{event.name, Bound<operation, Arguments>::bind}...};
    },
    engineEvents);

}  // namespace

std::vector<std::string_view> engineEventNames() {
  std::vector<std::string_view> names;
  names.reserve(events.size());
  for (const auto& event : events) names.push_back(event.name);
  return names;
}

BoundCall<KOBUCloudDelegate> engineEvent(std::string_view name, const boost::json::array& values) {
  const auto* const event = std::ranges::find(events, name, &Event::name);
  if (event == events.end()) throw ArgumentError("unknown event \"" + std::string(name) + "\"");
  Arguments arguments(name, values);
  return event->bind(arguments);
}

}  // namespace vemo
