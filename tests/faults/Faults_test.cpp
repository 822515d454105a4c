#include <gtest/gtest.h>

#include <boost/system/system_error.hpp>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>

#include "Folder.h"
#include "json/JsonText.h"
#include "simulator/SimulatorProgram.h"

// Each call to the system that the simulator makes in a session fails once, one after another: the
// program says why it can't start, or goes on, and the next page is served.

namespace vemo::test {
namespace {

std::string command(std::string_view action, object params) {
  const object message{{"head", {{"module", "kobu"}, {"action", action}}},
                       {"params", std::move(params)},
                       {"cbid", action}};
  return jsonText(object{{"kind", "message"}, {"text", jsonText(message)}});
}

/// A lesson of one that uses files, sockets, downloads and the recorder.
void lesson(const Simulator& simulator, Page& page) {
  page.send(R"({"kind":"note","on":true})");
  page.send(command("initSDK", {}));
  page.send(
      command("enterRoom", {{"userId", "ada"}, {"roomId", 7}, {"role", 20}, {"appScene", 1}}));
  page.send(command("setVideoMuteImage", {{"imgUrl", "http://" + simulator.host() + "/dot.gif"}}));
  page.send(command("startLocalPreview", {{"frontCamera", true}}));
  if (!page.hear("prompt")) return;
  page.send(R"({"kind":"answer","media":"camera","granted":true})");
  page.send(R"({"kind":"save"})");
  page.hear("saved");
}

/// Whether a page gets the answer to its command: the next, or the one after, when it is the next
/// that the failure hits.
bool serves(const Simulator& simulator) {
  for (const bool isLast : {false, true}) {
    try {
      Page page(simulator);
      page.send(command("getSDKVersion", {}));
      if (page.hear("script")) return true;
    } catch (const boost::system::system_error& problem) {
      if (isLast) ADD_FAILURE() << "it can't connect: " << problem.what();
    }
  }
  return false;
}

class Faults : public testing::Test {
 protected:
  /// One session in which the call with this number fails; false when there are not so many.
  bool sessionFails(long call) {
    const auto report = folder_.file("report");
    std::filesystem::remove(report);
    Simulator simulator({"--log", folder_.file("log.jsonl"), "--record", folder_.file("sessions")},
                        {{"LD_PRELOAD", VEMO_FAILING_CALLS},
                         {"VEMO_FAIL_AT", std::to_string(call)},
                         {"VEMO_FAIL_REPORT", report}});
    if (!simulator.started()) {
      const auto status = simulator.end(0);
      const auto text = simulator.standardError();
      EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 2) << "status " << status;
      EXPECT_TRUE(text.starts_with("vemo-simulator: ") && text.ends_with('\n')) << text;
      return std::filesystem::exists(report);
    }
    std::string lost;  // why this page was, if it was
    try {
      Page page(simulator, std::chrono::milliseconds(500));
      lesson(simulator, page);
    } catch (const boost::system::system_error& problem) {
      lost = problem.what();
    }
    EXPECT_TRUE(serves(simulator)) << "the next page is not answered; the first: " << lost;
    EXPECT_EQ(simulator.end(), 0) << "it did not end well: " << simulator.standardError();
    return std::filesystem::exists(report);
  }

  Folder folder_;
};

TEST_F(Faults, EachCallToTheSystemFailsOnceAndTheNextPageIsServed) {
  long call = 1;
  for (; call < 5000; ++call) {
    const auto failed = sessionFails(call);
    if (HasFailure()) {
      std::ifstream in(folder_.file("report"));
      std::string name;
      std::getline(in, name);
      FAIL() << "call " << call << ", " << name << ", failed";
    }
    if (!failed) break;
  }
  EXPECT_GT(call, 100) << "hardly anything was tried";
}

}  // namespace
}  // namespace vemo::test
