// Events of the engine, one a line: a name, a space, and the arguments as a JSON array, in which
// texts may hold any bytes. Whatever the engine says, a page hears calls with valid JSON.

#include <boost/json/array.hpp>
#include <boost/json/parse.hpp>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/FuzzTarget.h"
#include "json/EngineEvents.h"
#include "json/JsonText.h"
#include "testing/FakePlatform.h"
#include "webview/VEMOKOBUMsgRouter.h"

namespace vemo::fuzz {
namespace {

/// A router with an engine, and a page that hears all events.
class Listening {
 public:
  Listening() {
    boost::json::array callbacks;
    for (const auto name : engineEventNames())
      callbacks.push_back({{"sdkcbName", name}, {"jsRecvcbName", "on"}});
    platform_.send("initSDK");
    platform_.send("registCallBacks", jsonText(boost::json::object{{"callbacks", callbacks}}));
    platform_.send("enterRoom", R"({"sdkAppId":1,"userId":"ann","roomId":7,"appScene":0})");
    drain();
  }

  void tell(std::string_view line) {
    const auto space = line.find(' ');
    if (space == std::string_view::npos) return;
    boost::json::error_code problem;
    const auto arguments = boost::json::parse(line.substr(space + 1), problem, {},
                                              {.max_depth = 32, .allow_invalid_utf8 = true});
    if (problem || !arguments.is_array()) return;
    const auto engine = platform_.engineClass.instance();
    if (!engine) return;
    const auto delegate = engine->delegate();
    if (!delegate) return;
    try {
      engineEvent(line.substr(0, space), arguments.get_array())(*delegate);
    } catch (const ArgumentError&) {
      return;  // it tells no event
    }
    drain();
  }

 private:
  void drain() {
    while (platform_.mainQueue.drain() > 0) {
    }
    for (const auto& script : platform_.webView->take()) mustBeACall(script);
    for (const auto& record : platform_.logger.take())
      must(!record.actionName.empty(), "a record says what it is of", record.actionParam);
  }

  FakePlatform platform_;
  const std::shared_ptr<VEMOKOBUMsgRouter> router_ =
      VEMOKOBUMsgRouter::create(platform_.makeBaseRouter(), platform_.pieces());
};

}  // namespace
}  // namespace vemo::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  vemo::fuzz::Listening router;
  vemo::fuzz::forEachLine(vemo::fuzz::textOf(data, size),
                          [&](std::string_view line) { router.tell(line); });
  return 0;
}
