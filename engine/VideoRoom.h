#pragma once

#include <boost/json/object.hpp>
#include <cstdint>
#include <string>

namespace vemo::janus {

/// The server's plugin that passes on what each in a room sends.
inline constexpr const char* kVideoRoom = "janus.plugin.videoroom";

/// A text that nobody guesses.
std::string randomText();

/// The request for a room that is made on demand: `adminKey` where the server wants one,
/// `signedTokens` where nobody may join without a token of theirs. It holds the room's secret, with
/// which it can be closed: the admin key, or one that only this request knows.
boost::json::object roomRequest(const std::string& room, std::int64_t mostAnchors,
                                bool signedTokens, const std::string& adminKey);

}  // namespace vemo::janus
