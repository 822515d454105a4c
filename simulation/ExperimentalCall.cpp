#include "simulation/ExperimentalCall.h"

#include <algorithm>
#include <boost/json/parse.hpp>
#include <cstddef>
#include <utility>

#include "bridge/EngineCodes.h"
#include "json/Lookup.h"
#include "simulation/Client.h"

namespace vemo {
namespace {

constexpr std::size_t kCallsKept = 16;
constexpr std::size_t kLongestCall = 4096;      // bytes
constexpr std::int64_t kLongestDelay = 60'000;  // ms

NetworkProfile changed(NetworkProfile profile, const boost::json::object* params) {
  const auto read = [&](const char* key, std::int64_t former, std::int64_t highest) {
    const auto number = vemo_safeNSNumberForKey(params, key);
    return number ? std::clamp(number->as<std::int64_t>(), std::int64_t{0}, highest) : former;
  };
  profile.delay = Clock::Time(read("delayMs", profile.delay.count(), kLongestDelay));
  profile.jitter = Clock::Time(read("jitterMs", profile.jitter.count(), kLongestDelay));
  profile.upLoss = static_cast<std::uint32_t>(read("upLoss", profile.upLoss, 100));
  profile.downLoss = static_cast<std::uint32_t>(read("downLoss", profile.downLoss, 100));
  return profile;
}

}  // namespace

std::optional<boost::json::object> experimentalCallFrom(const std::string& jsonText) {
  boost::json::error_code error;
  auto value = boost::json::parse(jsonText, error);
  if (error || !value.is_object()) return std::nullopt;
  return std::move(value.get_object());
}

void experimentalCall(Client& client, const std::optional<boost::json::object>& call,
                      const std::string& jsonText) {
  if (jsonText.size() > kLongestCall) {
    client.warn(kWarnBadApiText, "an experimental call that is too long");
    return;
  }
  const auto api = call ? vemo_safeNSStringForKey(&*call, "api") : std::nullopt;
  if (!api) {
    client.warn(kWarnBadApiText, "an experimental call is a JSON object with a text \"api\"");
    return;
  }
  if (*api == "setNetwork") {
    const auto* params = call->if_contains("params");
    client.handset().network = changed(client.network(), params ? params->if_object() : nullptr);
  } else if (*api == "dropConnection") {
    client.world().dropConnection(client.handset());
  } else if (*api == "restoreConnection") {
    client.world().restoreConnection(client.handset());
  } else {
    client.warn(kWarnUnknownApi, "unknown experimental call " + std::string(*api));
    return;
  }
  if (client.experimentalCalls.size() == kCallsKept) {
    client.experimentalCalls.erase(client.experimentalCalls.begin());
  }
  client.experimentalCalls.push_back(jsonText);
}

}  // namespace vemo
