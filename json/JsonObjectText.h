#pragma once

#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <concepts>
#include <string>
#include <string_view>
#include <vector>

#include "bridge/Fields.h"
#include "json/JsonText.h"
#include "json/RecordMapper.h"

namespace vemo {

/// A JSON object that is only ever needed as text: its members are written as they are
/// added, with no tree in between. The text is a whole object at any time. A key is
/// added once.
class JsonObjectText {
 public:
  JsonObjectText() : text_("{}") { text_.reserve(160); }  // most need one allocation

  const std::string& text() const { return text_; }

  JsonObjectText& add(std::string_view key, std::string_view value) {
    return member(key, [&] { appendJsonString(text_, value); });
  }
  JsonObjectText& add(std::string_view key, const char* value) {
    return add(key, std::string_view(value));
  }
  JsonObjectText& add(std::string_view key, const boost::json::object& value) {
    return member(key, [&] { appendJsonText(text_, value); });
  }
  /// A number or a boolean.
  template <class Value>
  requires std::integral<Value> || std::floating_point<Value> JsonObjectText& add(
      std::string_view key, Value value) {
    return member(key, [&] { mapping::appendWritten(text_, value); });
  }
  /// A record, as dictionaryFrom describes it.
  template <HasFields Record>
  JsonObjectText& add(std::string_view key, const Record& value) {
    return member(key, [&] { appendRecordText(text_, value); });
  }
  /// A list of records.
  template <HasFields Record>
  JsonObjectText& add(std::string_view key, const std::vector<Record>& value) {
    return member(key, [&] { appendRecordText(text_, value); });
  }

 private:
  template <class Write>
  JsonObjectText& member(std::string_view key, Write write) {
    text_.pop_back();
    if (text_.size() > 1) text_ += ',';
    appendJsonString(text_, key);
    text_ += ':';
    write();
    text_ += '}';
    return *this;
  }

  std::string text_;
};

}  // namespace vemo
