#include "replay/Rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <boost/json/parse.hpp>
#include <ostream>
#include <sstream>
#include <string>

#include "replay/Replay.h"

// A table says what "expect" would say in full: what is played and what is held are the same.

namespace vemo::replay {
namespace {

struct Outcome {
  ExitStatus status;
  std::string out;
  std::string err;
};

Outcome outcomeOf(const std::string& scenario, Mode mode) {
  std::istringstream in(scenario);
  std::ostringstream out;
  std::ostringstream err;
  const auto status = replay(in, mode, out, err);
  return {status, out.str(), err.str()};
}

const std::string kInit = "{\"command\":\"initSDK\"}\n";
const std::string kRoute = kInit + "{\"rows\":\"setAudioRoute\"}\n";

TEST(Rows, AreStepsOfTheirOwnForEachOfTheParams) {
  const auto rows = outcomeOf(kRoute +
                                  "[\"no route param\",null,{}]\n"
                                  "{\"get\":\"role\"}\n"
                                  "[[[\"setAudioRoute\",1]],{\"route\":1}]\n",
                              Mode::transcript);
  EXPECT_EQ(rows.status, kDone) << rows.err;
  const auto steps = outcomeOf(kInit +
                                   "{\"command\":\"setAudioRoute\"}\n"
                                   "{\"command\":\"setAudioRoute\",\"params\":{}}\n"
                                   "{\"get\":\"role\"}\n"
                                   "{\"command\":\"setAudioRoute\",\"params\":{\"route\":1}}\n",
                               Mode::transcript);
  EXPECT_EQ(rows.out, steps.out);
}

TEST(Rows, OfATableWithAStepAreFollowedByIt) {
  const auto rows = outcomeOf(
      "{\"rows\":\"initSDK\",\"then\":{\"command\":\"uninitSDK\"}}\n"
      "[\"x\",null,{}]\n",
      Mode::transcript);
  EXPECT_EQ(rows.status, kDone) << rows.err;
  const auto steps = outcomeOf(
      "{\"command\":\"initSDK\"}\n{\"command\":\"uninitSDK\"}\n"
      "{\"command\":\"initSDK\",\"params\":{}}\n{\"command\":\"uninitSDK\"}\n",
      Mode::transcript);
  EXPECT_EQ(rows.out, steps.out);
}

TEST(Rows, WhatATableHasAfterEachCommandIsCheckedToo) {
  const auto played = outcomeOf(
      "{\"rows\":\"setLogParams\",\"then\":{\"get\":\"role\",\"expect\":[{\"value\":1}]}}\n"
      "[[],{}]\n",
      Mode::check);
  EXPECT_EQ(played.status, kExpectationFailed);
  EXPECT_EQ(played.out.substr(0, played.out.find(':')), "line 2, step 2");
}

/// What each kind of outcome expects, in full.
struct Meaning {
  const char* row;
  const char* entry;  // the parameter of the entry record, which comes first; or null
  const char* rest;
};

void PrintTo(const Meaning& meaning, std::ostream* out) { *out << meaning.row; }

json::object entryRecord(const char* params) {
  auto effect = json::parse(R"({"effect":"log","thread":"main","record":{"needReport":true,
      "level":2,"module":"VEMOKOBUMsgRouter","actionName":"dance","actionParam":"",
      "errorCode":null,"errorDesc":null,"fileName":"*",
      "funcName":"-[VEMOKOBUMsgRouter registRouter]_wrapper","line":"*"}})")
                    .as_object();
  effect.at("record").as_object().at("actionParam") = std::string("webview(0x*) : ") + params;
  return effect;
}

class RowMeanings : public testing::TestWithParam<Meaning> {};

TEST_P(RowMeanings, IsTheWholeExpectation) {
  const std::string line = GetParam().row;
  const auto row = json::parse(line).as_array();
  const auto steps = stepsOfRow({"dance", {}}, row, line, 7);
  ASSERT_EQ(steps.size(), 1U);
  EXPECT_FALSE(steps[0].partial);
  json::array expect;
  if (GetParam().entry) expect.push_back(entryRecord(GetParam().entry));
  const auto rest = json::parse(GetParam().rest);
  for (const auto& effect : rest.as_array()) expect.push_back(effect);
  EXPECT_EQ(json::value(steps[0].expect.value()), json::value(expect));
}

INSTANTIATE_TEST_SUITE_P(
    Outcomes, RowMeanings,
    testing::Values(
        Meaning{R"(["no foot",null])", "{}",
                R"json([{"effect":"log","thread":"main","record":{"needReport":true,"level":4,
                "module":"VEMOKOBUMsgRouter","actionName":"danceFailed","actionParam":"(null)",
                "errorCode":-1,"errorDesc":"no foot","fileName":"*",
                "funcName":"-[VEMOKOBUMsgRouter dance:webView:]","line":"*"}},
                {"effect":"reply","thread":"main","item":"#7","action":"dance",
                "error":{"module":"JS","errcode":-1,"errmsg":"no foot"},"retval":null,
                "printLog":true}])json"},
        Meaning{R"([[["step",1,"l"],{"effect":"post","name":"n"}],{"a":1e+300}])",
                R"({"a":1e+300})",
                R"([{"effect":"engine","thread":"main","call":"step","args":[1,"l"]},
                {"effect":"post","thread":"main","name":"n"},
                {"effect":"reply","thread":"main","item":"#7","action":"dance","error":null,
                "retval":null,"printLog":true}])"},
        Meaning{R"([{"effects":[]},{}])", nullptr, "[]"},
        Meaning{R"([{"effects":["entry",{"log":{"level":4}},{"reply":{"retval":{}}}]},{}])", "{}",
                R"([{"effect":"log","thread":"main","record":{"needReport":true,"level":4,
                "module":"VEMOKOBUMsgRouter","actionName":"dance","actionParam":"{}",
                "errorCode":null,"errorDesc":null,"fileName":"*",
                "funcName":"-[VEMOKOBUMsgRouter dance:webView:]","line":"*"}},
                {"effect":"reply","thread":"main","item":"#7","action":"dance","error":null,
                "retval":{},"printLog":true}])"}));

/// Rows that say something else than the router does.
class WrongRows : public testing::TestWithParam<const char*> {};

TEST_P(WrongRows, Fail) {
  const auto played = outcomeOf(kRoute + GetParam(), Mode::check);
  EXPECT_EQ(played.status, kExpectationFailed) << played.err;
  EXPECT_TRUE(played.out.starts_with("line 3, step 2, params {\"route\":")) << played.out;
}

INSTANTIATE_TEST_SUITE_P(
    Outcomes, WrongRows,
    testing::Values(R"(["no route",{"route":"1"}])",                 // another text
                    R"(["no route param",{"route":1}])",             // no failure
                    R"([[],{"route":1}])",                           // a call too many
                    R"([[["setAudioRoute",2]],{"route":1}])",        // another argument
                    R"([[["setRoute",1]],{"route":1}])",             // another call
                    R"([[["setAudioRoute",1,0]],{"route":1}])",      // an argument more
                    R"([[["setAudioRoute",1],["x"]],{"route":1}])",  // a call less
                    R"([[["setAudioRoute",1]],{"route":"1"}])",      // no success
                    R"([{"effects":["entry",["setAudioRoute",1]]},{"route":1}])",  // a reply
                    R"([{"effects":[["setAudioRoute",1],{"reply":{}}]},{"route":1}])",
                    R"([{"effects":["entry",["setAudioRoute",1],{"reply":{"retval":{}}}]},)"
                    R"({"route":1}])"));

TEST(Rows, SayWhichParamsWereNotAnsweredAsExpected) {
  const auto played = outcomeOf(kRoute + "[\"no route param\",{},{\"route\":1}]\n", Mode::check);
  EXPECT_EQ(played.status, kExpectationFailed);
  EXPECT_EQ(played.out.find("line 3, step 3, params {\"route\":1}: "), 0U) << played.out;
}

/// A scenario whose last line is wrong.
struct Error {
  const char* scenario;
  const char* why;
};

void PrintTo(const Error& error, std::ostream* out) { *out << error.scenario; }

class RowErrors : public testing::TestWithParam<Error> {};

TEST_P(RowErrors, AreToldWithTheirLine) {
  const std::string scenario = GetParam().scenario;
  const auto line = 1 + std::count(scenario.begin(), scenario.end(), '\n');
  for (const auto mode : {Mode::transcript, Mode::check}) {
    const auto played = outcomeOf(scenario, mode);
    EXPECT_EQ(played.status, kUnreadable);
    EXPECT_EQ(played.err, "line " + std::to_string(line) + ": " + GetParam().why + "\n");
  }
}

INSTANTIATE_TEST_SUITE_P(
    Tables, RowErrors,
    testing::Values(Error{"[\"x\",{}]", "a row must stand below \"rows\""},
                    Error{R"({"rows":1})", "rows must be text"},
                    Error{R"({"rows":"x","expect":[]})", "unknown key \"expect\" of rows"},
                    Error{R"({"rows":"x","command":"y"})", "unknown key \"command\" of rows"},
                    Error{R"({"rows":"x","then":[]})", "then must be an object"},
                    Error{R"({"rows":"x","then":{"dance":1}})", "unknown verb \"dance\""},
                    Error{R"({"rows":"x","then":{"rows":"x"}})", "unknown verb \"rows\""},
                    Error{"{\"rows\":\"x\",\"then\":{\"get\":\"mood\"}}\n[[],{}]",
                          "unknown value \"mood\""}));

INSTANTIATE_TEST_SUITE_P(
    Rows, RowErrors,
    testing::Values(
        Error{"{\"rows\":\"x\"}\n[]", "a row must have an outcome and params"},
        Error{"{\"rows\":\"x\"}\n[\"no\"]", "a row must have an outcome and params"},
        Error{"{\"rows\":\"x\"}\n[\"no\",1]", "params of a row must be an object or null"},
        Error{"{\"rows\":\"x\"}\n[\"no\",{},[]]", "params of a row must be an object or null"},
        Error{"{\"rows\":\"x\"}\n[\"no\",{\"a\": 1}]",
              "the params of a row must be written as the router writes them: {\"a\":1}"},
        Error{"{\"rows\":\"x\"}\n[\"no\",{\"a\":1.0},{}]",
              "the params of a row must be written as the router writes them: {\"a\":1},{}"},
        Error{"{\"rows\":\"x\"}\n[null,{}]",
              "the outcome of a row must be a text, an array or {\"effects\": an array}"},
        Error{"{\"rows\":\"x\"}\n[{\"effects\":[],\"reply\":{}},{}]",
              "the outcome of a row must be a text, an array or {\"effects\": an array}"},
        Error{"{\"rows\":\"x\"}\n[{\"effects\":{}},{}]",
              "the outcome of a row must be a text, an array or {\"effects\": an array}"},
        Error{"{\"rows\":\"x\"}\n[[\"exit\"],{}]",
              "an effect of a row must be \"entry\", an array or an object"},
        Error{"{\"rows\":\"x\"}\n[[[]],{}]", "a call of a row must begin with its name"},
        Error{"{\"rows\":\"x\"}\n[[[1]],{}]", "the name of a call must be text"},
        Error{"{\"rows\":\"x\"}\n[[{}],{}]",
              "an effect of a row must have the key effect, or log or reply alone"},
        Error{"{\"rows\":\"x\"}\n[[{\"log\":{},\"reply\":{}}],{}]",
              "an effect of a row must have the key effect, or log or reply alone"},
        Error{"{\"rows\":\"x\"}\n[[{\"log\":1}],{}]", "log must be an object"},
        Error{"{\"rows\":\"x\"}\n[[{\"reply\":[]}],{}]", "reply must be an object"},
        Error{"{\"rows\":\"x\"}\n[[{\"log\":{\"lvl\":1}}],{}]",
              "unknown key \"lvl\" of a log record"},
        Error{"{\"rows\":\"x\"}\n[[{\"reply\":{\"eror\":1}}],{}]",
              "unknown key \"eror\" of the effect reply; did you mean \"error\"?"},
        Error{"{\"rows\":\"x\"}\n[[{\"effect\":\"rain\"}],{}]", "unknown effect \"rain\""}));

}  // namespace
}  // namespace vemo::replay
