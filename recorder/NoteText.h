#pragma once

#include <array>
#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <charconv>
#include <concepts>
#include <string>
#include <string_view>
#include <type_traits>

#include "bridge/Fields.h"
#include "bridge/ImageDecoder.h"
#include "bridge/VEMOUIRenderSource.h"
#include "json/JsonText.h"
#include "json/RecordMapper.h"
#include "recorder/ObjectNames.h"

namespace vemo {

/// The text of one note, a JSON object, written as its members are added, in memory that the
/// thread keeps. One at a time on a thread.
class NoteText {
 public:
  /// Views are written as `names` has them.
  explicit NoteText(ObjectNames& names) : names_(names), text_(memory()) { text_ = '{'; }
  NoteText(const NoteText&) = delete;
  NoteText& operator=(const NoteText&) = delete;

  /// Adds a member: `key` is plain ASCII. Records as the mapper writes them, views by name,
  /// an image as "image"; what is absent or null as null.
  template <class T>
  NoteText& add(std::string_view key, const T& value) {
    begin(key);
    append(value);
    return *this;
  }

  /// Adds a member that is the array of `values`.
  template <class... T>
  NoteText& addArray(std::string_view key, const T&... values) {
    begin(key);
    text_ += '[';
    [[maybe_unused]] bool first = true;
    (appendElement(values, first), ...);
    text_ += ']';
    return *this;
  }

  /// Adds a member whose value is written by `write(text)`, which appends JSON.
  template <class Write>
  NoteText& addWritten(std::string_view key, Write write) {
    begin(key);
    write(text_);
    return *this;
  }

  /// The whole text, valid until the thread's next.
  std::string_view whole() {
    text_ += '}';
    return text_;
  }

 private:
  /// The thread's memory; what one large note took is given back with the next.
  static std::string& memory() {
    thread_local std::string text;
    constexpr std::size_t kept = std::size_t{64} << 10U;
    if (text.capacity() > kept) text = {};
    return text;
  }

  void begin(std::string_view key) {
    if (text_.size() > 1) text_ += ',';
    text_ += '"';
    text_ += key;
    text_ += "\":";
  }

  template <class T>
  void appendElement(const T& value, bool& first) {
    if (!first) text_ += ',';
    first = false;
    append(value);
  }

  template <class T>
  void append(const T& value) {
    if constexpr (std::same_as<T, bool>) {
      text_ += value ? "true" : "false";
    } else if constexpr (std::integral<T>) {
      std::array<char, 24> digits;
      text_.append(digits.data(),
                   std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr);
    } else if constexpr (std::floating_point<T>) {
      appendJsonText(text_, boost::json::value(value));
    } else if constexpr (std::same_as<T, boost::json::object> ||
                         std::same_as<T, boost::json::array> ||
                         std::same_as<T, boost::json::value>) {
      appendJsonText(text_, value);
    } else if constexpr (std::convertible_to<const T&, std::string_view>) {
      appendJsonString(text_, value);
    } else if constexpr (HasFields<T> || mapping::IsList<T>::value) {
      appendRecordText(text_, value);
    } else if constexpr (std::same_as<T, NativeView>) {
      appendJsonString(text_, names_.nameOf(value));
    } else if constexpr (std::same_as<T, VEMOImage>) {
      text_ += "\"image\"";
    } else if (value) {  // an optional or a pointer
      append(*value);
    } else {
      text_ += "null";
    }
  }

  ObjectNames& names_;
  std::string& text_;
};

}  // namespace vemo
