#include <boost/json/object.hpp>
#include <boost/json/parse.hpp>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "PhoneEngine.h"
#include "PhoneLogger.h"
#include "PhoneWebView.h"
#include "testing/contracts/KOBUCloud_contract.h"
#include "testing/contracts/VEMOLogger_contract.h"
#include "testing/contracts/VEMOWebView_contract.h"

struct PhoneEngineMaker {
  static constexpr bool kAnswers = true;

  PhoneEngineClass made;

  vemo::KOBUCloudClass& engineClass() { return made; }
  vemo::KOBUParams params() {
    vemo::KOBUParams params;
    params.userSig = "signed";
    return params;
  }
  vemo::KOBUParams badParams() { return {}; }
  void settle() {
    made.thread().finish();
    made.thread().finish();  // what an event has caused
  }
};

struct PhoneWebViewMaker {
  vemo::MainThreadQueue mainQueue;
  std::vector<std::string> ran;
  std::shared_ptr<PhoneWebView> view = std::make_shared<PhoneWebView>(
      mainQueue, [this](const std::string& script) { ran.push_back(script); });

  std::shared_ptr<vemo::VEMOWebView> webView() { return view; }
  std::vector<std::string> scripts() {
    mainQueue.drain();
    return ran;
  }
  void endPage() { view->endPage(); }
};

struct PhoneLoggerMaker {
  std::mutex mutex;
  std::vector<std::string> lines;
  PhoneLogger made{[this](const std::string& line) {
    const std::lock_guard lock(mutex);
    lines.push_back(line);
  }};

  vemo::VEMOLogger& logger() { return made; }
  std::vector<boost::json::object> records() {
    std::vector<boost::json::object> records;
    for (const auto& line : lines) records.push_back(boost::json::parse(line).as_object());
    return records;
  }
};

namespace vemo {
INSTANTIATE_TYPED_TEST_SUITE_P(Phone, KOBUCloudContract, PhoneEngineMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(Phone, VEMOWebViewContract, PhoneWebViewMaker);
INSTANTIATE_TYPED_TEST_SUITE_P(Phone, VEMOLoggerContract, PhoneLoggerMaker);
}  // namespace vemo
