#include <gtest/gtest.h>

#include <boost/json/array.hpp>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>

#include "webview/protocol.h"

// The subject that the document tells of a command or an event is the file that holds it.

namespace vemo {
namespace {

using Files = std::set<std::string>;

/// The stems of the router's sources in which a handler or an event's operation has its body,
/// by its name. Operations of the host are left out: they may have a handler's name.
std::map<std::string, Files> bodies() {
  static const std::regex body(
      R"(\n(Outcome VEMOKOBUMsgRouter::(\w+)\(|void VEMOKOBUMsgRouter::(on[A-Z]\w+)\())");
  std::map<std::string, Files> found;
  for (const auto& entry : std::filesystem::directory_iterator(VEMO_WEBVIEW)) {
    if (entry.path().extension() != ".cpp") continue;
    std::ostringstream source;
    source << std::ifstream(entry.path()).rdbuf();
    const std::string text = source.str();
    for (std::sregex_iterator match(text.begin(), text.end(), body), end; match != end; ++match) {
      const auto& name = (*match)[2].matched ? (*match)[2] : (*match)[3];
      found[name.str()].insert(entry.path().stem().string());
    }
  }
  return found;
}

TEST(Subjects, AreTheFilesThatHoldThem) {
  const auto found = bodies();
  const auto document = protocol();
  const auto subjectOf = [](const boost::json::value& told) {
    return Files{std::string(told.at("subject").as_string())};
  };
  std::size_t handlers = 0;
  for (const auto& command : document.at("commands").as_array()) {
    const std::string name(command.at("name").as_string());
    if (!found.contains(name)) continue;  // its row is all there is
    ++handlers;
    EXPECT_EQ(found.at(name), subjectOf(command)) << name;
  }
  EXPECT_GT(handlers, 0U);
  for (const auto& event : document.at("events").as_array()) {
    std::string name(event.at("name").as_string());
    if (name == "onScreenKitEvent") name = "onRecvScreenKitNotify";
    ASSERT_TRUE(found.contains(name)) << name;
    EXPECT_EQ(found.at(name), subjectOf(event)) << name;
  }
}

}  // namespace
}  // namespace vemo
