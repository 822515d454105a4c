#include <gtest/gtest.h>

#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>
#include <utility>

#include "replay/Replay.h"

// A log record names the place that wrote it, so each place has a name of its own. The
// scenarios reach every one of them.

namespace vemo::replay {
namespace {

using Place = std::pair<std::string, std::int64_t>;

std::string fieldOf(const boost::json::object& record, std::string_view field) {
  const auto* value = record.if_contains(field);
  return value ? std::string(value->as_string()) : "";
}

/// What all records of one place have in common: the routine, the action (a completion
/// writes success and failure from one place) and the description of a failure that the
/// router finds by itself.
std::string kindOf(const boost::json::object& record) {
  auto action = fieldOf(record, "actionName");
  if (action.ends_with("Failed")) action.resize(action.size() - 6);
  const auto* code = record.if_contains("errorCode");
  const bool own = fieldOf(record, "module") != "SDKCallback" && code && code->as_int64() < 0 &&
                   code->as_int64() >= -3;
  return fieldOf(record, "funcName") + " " + action +
         (own ? " " + fieldOf(record, "errorDesc") : "");
}

/// The first kind of record that each place wrote.
using Places = std::map<Place, std::string>;

void addPlaces(const std::filesystem::path& file, Places& places) {
  std::ifstream in(file);
  std::ostringstream out;
  std::ostringstream err;
  ASSERT_EQ(replay(in, Mode::transcript, out, err, file), kDone) << err.str();
  std::istringstream lines(out.str());
  for (std::string line; std::getline(lines, line);) {
    const auto effect = boost::json::parse(line);
    const auto* record = effect.as_object().if_contains("record");
    if (!record) continue;
    const auto& fields = record->as_object();
    // The base router's records name no place.
    if (fieldOf(fields, "module") == "VEMOJSMsgRouter") continue;
    const Place place{fieldOf(fields, "fileName"), fields.at("line").as_int64()};
    EXPECT_NE(place.first, "") << line;
    EXPECT_EQ(place.first.find('/'), std::string::npos) << line;
    EXPECT_GT(place.second, 0) << line;
    const auto kind = kindOf(fields);
    const auto known = places.emplace(place, kind).first;
    EXPECT_EQ(known->second, kind) << "both from " << place.first << ":" << place.second;
  }
}

TEST(Places, EachBelongsToOneKindOfRecord) {
  Places places;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(VEMO_SCENARIOS)) {
    if (entry.path().extension() != ".jsonl") continue;
    SCOPED_TRACE(entry.path().string());
    addPlaces(entry.path(), places);
  }
  // Each logged command has a place for its call, one for a missing web view and, if guarded,
  // one for a missing engine; so has each event, and what goes wrong in single commands.
  EXPECT_GT(places.size(), 200U);
}

}  // namespace
}  // namespace vemo::replay
