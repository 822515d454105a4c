// A scenario, as a tester might have written it.

#include <sstream>
#include <string>

#include "fuzz/FuzzTarget.h"
#include "replay/Replay.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace vemo;
  std::istringstream scenario{std::string(fuzz::textOf(data, size))};
  std::ostringstream out;
  std::ostringstream err;
  const auto status =
      replay::replay(scenario, replay::Mode::transcript, out, err, "/nonexistent/it.jsonl");
  fuzz::must(status == replay::kDone || status == replay::kUnreadable, "nothing is left over",
             err.str());
  fuzz::must((status == replay::kUnreadable) == !err.str().empty(), "a refusal says why",
             err.str());
  fuzz::forEachLine(out.str(), [](std::string_view line) {
    fuzz::must(fuzz::isJson(line), "a transcript's line is JSON", line);
  });
  return 0;
}
