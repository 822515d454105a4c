#pragma once

#include <boost/json/object.hpp>
#include <boost/json/storage_ptr.hpp>
#include <optional>
#include <string_view>

#include "platform/MessageAddress.h"

namespace vemo {

/// What a page sent, read as JSMsgRouter::decode promises.
struct PageMessage {
  MessageAddress address;                      ///< as far as it can be read
  std::optional<boost::json::object> content;  ///< the message; nothing when it can't be used
};

/// Reads a page message; `content` lives in `storage`. Thread-safe.
PageMessage readPageMessage(std::string_view text, const boost::json::storage_ptr& storage = {});

}  // namespace vemo
