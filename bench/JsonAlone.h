#pragma once

#include <array>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/parser.hpp>
#include <boost/json/serializer.hpp>
#include <boost/json/value.hpp>
#include <cstddef>
#include <string>
#include <string_view>

namespace vemo::bench {

/// What a round writes.
struct WrittenTexts {
  std::string logged;
  std::string script;
};

/// Boost.JSON used as sparingly as it can be: one parser, one serializer, an arena on a
/// fixed buffer and texts whose memory is kept from one use to the next.
class JsonAlone {
 public:
  /// The memory of the present round; newRound gives it back.
  boost::json::storage_ptr arena() { return &arena_; }
  void newRound() { arena_.release(); }

  boost::json::value parse(std::string_view text) {
    parser_.reset(arena());
    parser_.write(text.data(), text.size());
    return parser_.release();
  }

  /// Appends the JSON text of `json`, a value, object or array, to `out`.
  template <class Json>
  void append(std::string& out, const Json& json) {
    serializer_.reset(&json);
    while (!serializer_.done()) out.append(serializer_.read(chunk_.data(), chunk_.size()));
  }

 private:
  std::array<unsigned char, std::size_t{64} * 1024> memory_;
  boost::json::monotonic_resource arena_{memory_.data(), memory_.size()};
  boost::json::parser parser_;
  boost::json::serializer serializer_;
  std::array<char, std::size_t{16} * 1024> chunk_;
};

}  // namespace vemo::bench
