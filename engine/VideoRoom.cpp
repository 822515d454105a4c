#include "engine/VideoRoom.h"

#include "engine/Gst.h"

namespace vemo::janus {

std::string randomText() { return GText(g_uuid_string_random()).get(); }

boost::json::object roomRequest(const std::string& room, std::int64_t mostAnchors,
                                bool signedTokens, const std::string& adminKey) {
  boost::json::object request{{"request", "create"},       {"room", room},
                              {"permanent", false},        {"is_private", true},
                              {"publishers", mostAnchors}, {"signed_tokens", signedTokens},
                              {"notify_joining", true},    {"videocodec", "vp8"},
                              {"audiocodec", "opus"},      {"fir_freq", 0}};
  if (!adminKey.empty()) request["admin_key"] = adminKey;
  // Without one, everybody in the room could remove the others and the room itself.
  request["secret"] = adminKey.empty() ? randomText() : adminKey;
  return request;
}

}  // namespace vemo::janus
