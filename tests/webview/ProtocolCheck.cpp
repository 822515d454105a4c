#include "ProtocolCheck.h"

#include "CommandCheck.h"
#include "EventCheck.h"
#include "ProtocolShape.h"

namespace vemo::test {

std::set<std::string> untruthsIn(const boost::json::object& document) {
  std::set<std::string> untruths;
  const auto checkEach = [&](std::string_view list, const auto& check) {
    for (const auto& value : listIn(document, list)) {
      const auto& told = value.as_object();
      check(told, [&](const std::string& what) {
        untruths.insert(std::string(textIn(told, "name")) + ": " + what);
      });
    }
  };
  checkEach("commands", checkCommand);
  checkEach("events", checkEvent);
  return untruths;
}

}  // namespace vemo::test
