#pragma once

#include <boost/json/array.hpp>
#include <boost/json/object.hpp>
#include <boost/json/value.hpp>
#include <functional>
#include <set>
#include <string>
#include <string_view>

// What the checks of commands and events have in common: reading the document, and comparing
// objects with the fields that it tells.

namespace vemo::test {

/// Told what is not as the document says.
using Complain = std::function<void(const std::string& what)>;

/// The text under `key`; empty when there is none.
std::string_view textIn(const boost::json::object& object, std::string_view key);
/// Whether true is under `key`.
bool isTrue(const boost::json::object& object, std::string_view key);
/// The list under `key`; empty when there is none.
const boost::json::array& listIn(const boost::json::object& object, std::string_view key);

std::string inQuotes(std::string_view text);

/// Whether `value` is of a type, as the document names types.
bool isOf(std::string_view type, const boost::json::value& value);

/// Compares objects with the fields that are told for them. What is told to vary has to
/// vary, too: that shows when all objects have been seen.
class Shape {
 public:
  /// `fields` outlives this.
  Shape(const boost::json::array& fields, Complain complain);

  void compare(const boost::json::object& object);
  /// All objects have been seen.
  void finish();

 private:
  void compare(const boost::json::array& fields, const boost::json::object& object,
               const std::string& path);
  void compareValue(const boost::json::object& told, const boost::json::value& value,
                    const std::string& at);
  void finish(const boost::json::array& fields, const std::string& path);

  const boost::json::array& fields_;
  const Complain complain_;
  std::set<std::string> seen_;
};

}  // namespace vemo::test
