// Measures what the bridge costs beside the JSON library that it stands on, and says so
// as one number for each case: the router's time divided by that of Boost.JSON alone.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Measured {
  double nanoseconds = std::numeric_limits<double>::infinity();
  double allocations = 0;
};

/// Keeps the best time of each benchmark: what disturbs a run makes it slower, never
/// faster. The single runs are written where --benchmark_out says.
class RatioReporter final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override {
    PrintBasicContext(&GetErrorStream(), context);
    return true;
  }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.error_occurred) continue;
      auto& best = best_[run.run_name.function_name];
      best.nanoseconds = std::min(best.nanoseconds, run.GetAdjustedCPUTime());
      const auto counter = run.counters.find("allocations");
      if (counter != run.counters.end()) best.allocations = counter->second;
    }
  }

  /// The runs `name` beside the runs `other` of the same cases.
  void printRatios(std::ostream& out, const std::string& name, const std::string& other) const {
    const auto router = "/" + name;
    out << '\n'
        << std::left << std::setw(34) << "best of all runs" << std::right << std::setw(12)
        << name + " ns" << std::setw(12) << other + " ns" << std::setw(8) << "ratio"
        << std::setw(16) << name + " allocs" << std::setw(14) << other + " allocs" << '\n';
    for (const auto& [run, routers] : best_) {
      if (!run.ends_with(router)) continue;
      const auto stem = run.substr(0, run.size() - router.size());
      const auto json = best_.find(std::string(stem).append("/").append(other));
      if (json == best_.end()) continue;
      out << std::left << std::setw(34) << stem << std::right << std::fixed << std::setprecision(0)
          << std::setw(12) << routers.nanoseconds << std::setw(12) << json->second.nanoseconds
          << std::setprecision(2) << std::setw(8) << routers.nanoseconds / json->second.nanoseconds
          << std::setprecision(1) << std::setw(16) << routers.allocations << std::setw(14)
          << json->second.allocations << '\n';
    }
  }

 private:
  std::map<std::string, Measured> best_;
};

}  // namespace

int main(int argc, char** argv) {
  // Given first, so that the command line's own come later and win.
  std::vector<std::string> defaults = {"--benchmark_repetitions=5", "--benchmark_min_time=0.2",
                                       "--benchmark_enable_random_interleaving=true"};
  std::vector<char*> arguments = {argv[0]};
  for (auto& option : defaults) arguments.push_back(option.data());
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;

  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.printRatios(std::cout, "router", "json");
  reporter.printRatios(std::cout, "recorded", "router");
  reporter.printRatios(std::cout, "both", "logged");
  benchmark::Shutdown();
}
