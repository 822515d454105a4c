#pragma once

#include <boost/json/object.hpp>
#include <string>

#include "bridge/CaptureAuthorization.h"
#include "recorder/DeviceState.h"

namespace vemo {

/// What can be chosen about a simulated phone.
struct PhoneSettings {
  std::string os = "17.0.0";  ///< major.minor.patch
  AuthorizationStatus camera = AuthorizationStatus::notDetermined;
  AuthorizationStatus microphone = AuthorizationStatus::notDetermined;
  decltype(DeviceState::bundle) bundle = DeviceState().bundle;
  bool canOpenSettings = true;
  std::string appGroup = DeviceState().appGroup;
};

/// The settings as the page's frame shows them; permissions are "notDetermined",
/// "restricted", "denied" and "authorized".
boost::json::object jsonOf(const PhoneSettings& settings);

/// Takes over the keys of `changes`: those that jsonOf gives, and "texts", with which single texts
/// of the bundle change (null: one goes). A key that is unknown or a value that can't be used
/// changes nothing at all; the result then says which, else it is empty.
std::string apply(const boost::json::object& changes, PhoneSettings& settings);

/// Whether version `have` is at least major.minor.patch.
bool isAtLeast(const std::string& have, int major, int minor, int patch);

}  // namespace vemo
