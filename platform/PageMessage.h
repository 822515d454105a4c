#pragma once

#include <boost/json/object.hpp>
#include <boost/json/storage_ptr.hpp>
#include <optional>
#include <string_view>

#include "bridge/Text.h"
#include "platform/MessageAddress.h"

namespace vemo {

/// What a page sent, read as JSMsgRouter::decode promises.
struct PageMessage {
  MessageAddress address = {};                     ///< as far as it can be read
  bool isUsable = false;                           ///< what follows counts only when it is true
  std::optional<boost::json::object> params = {};  ///< absent, too, when they are null
  Text nativecb = {};                              ///< absent, too, when it is no text
  /// Whether there is more in the message, outside its head, than stands above.
  bool hasMore = false;
};

/// Reads a page message; `params` live in `storage`. Thread-safe.
PageMessage readPageMessage(std::string_view text, const boost::json::storage_ptr& storage = {});

}  // namespace vemo
