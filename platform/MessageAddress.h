#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "bridge/Text.h"

namespace vemo {

/// Who a page message is for and who waits for its answer, each absent when it can't be
/// found or is no text.
struct MessageAddress {
  Text module;
  Text action;
  Text cbid;
};

/// Members of an address longer than this are not found by skimAddress.
inline constexpr std::size_t kMaxSkimmedBytes = 4096;

/// The address of a message that is not to be read whole, found by following its quotes
/// and brackets alone: "cbid" among the members of the outermost object, wherever it
/// stands, and "module" and "action" among those of its "head". Of two members of one
/// name the last counts. A text that breaks off, or is no JSON further on, gives what was
/// found until there.
///
/// One pass, and no memory beside the result: safe for texts of any length and depth.
/// Thread-safe.
MessageAddress skimAddress(std::string_view text);

/// `text` with each escape of half a surrogate pair replaced by that of U+FFFD. Pages
/// write such halves for a text cut inside an emoji, and the parser refuses them.
std::string withWholePairs(std::string_view text);

}  // namespace vemo
