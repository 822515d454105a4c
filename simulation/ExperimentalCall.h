#pragma once

#include <boost/json/object.hpp>
#include <optional>
#include <string>

namespace vemo {

class Client;

/// The object in `jsonText`; nothing when it holds none.
std::optional<boost::json::object> experimentalCallFrom(const std::string& jsonText);

/// Does what `call`, the object in `jsonText`, asks for: `{"api": NAME, "params": {...}}`.
///
///     setNetwork         delayMs, jitterMs, upLoss, downLoss: numbers; a missing one stays
///     dropConnection     cuts this handset off
///     restoreConnection  ends that
///
/// Anything else, and a text of more than 4096 bytes, is reported by a warning. With the world's
/// lock held.
void experimentalCall(Client& client, const std::optional<boost::json::object>& call,
                      const std::string& jsonText);

}  // namespace vemo
