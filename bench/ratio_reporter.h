#pragma once
// Console output of Google Benchmark plus, at the end, named ratios between runs of the same
// program: our figure next to a peer or a limit measured in the same run. With repetitions (and
// interleaving, see scripts/run-benchmarks.sh), each side is the median of its repetitions, so a
// burst of load from elsewhere on a shared machine moves a ratio less.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace tv::bench {

class RatioReporter : public benchmark::ConsoleReporter {
public:
  struct Ratio {
    std::string label;
    std::string ours;   // benchmark name whose time is the numerator of the speed ratio
    std::string peer;   // benchmark name measured against
    std::string goal;   // text of the goal, printed beside the figure
  };

  explicit RatioReporter(std::vector<Ratio> ratios) : ratios_(std::move(ratios)) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      if (run.run_type == Run::RT_Iteration) {
        seconds_[run.benchmark_name()].push_back(run.GetAdjustedRealTime());
      } else if (run.aggregate_name == "median") {
        // Only aggregates reach the reporter when the runs themselves are not shown.
        medians_[run.run_name.str()] = run.GetAdjustedRealTime();
      }
    }
  }

  // Speed of `ours` relative to `peer`: above 1 means ours is faster.
  void PrintRatios() const {
    std::printf("\n%-58s %8s   %s\n", "ratio (speed of ours / speed of peer)", "value", "goal");
    for (const Ratio& ratio : ratios_) {
      const double ours = Median(ratio.ours);
      const double peer = Median(ratio.peer);
      if (ours <= 0 || peer <= 0) {
        std::printf("%-58s %8s   %s\n", ratio.label.c_str(), "n/a", ratio.goal.c_str());
        continue;
      }
      std::printf("%-58s %8.3f   %s\n", ratio.label.c_str(), peer / ours, ratio.goal.c_str());
    }
  }

private:
  // The median time of a benchmark's runs; 0 when it has none.
  double Median(const std::string& name) const {
    if (const auto median = medians_.find(name); median != medians_.end()) return median->second;
    const auto found = seconds_.find(name);
    if (found == seconds_.end() || found->second.empty()) return 0;
    std::vector<double> times = found->second;
    std::sort(times.begin(), times.end());
    const size_t middle = times.size() / 2;
    return times.size() % 2 == 1 ? times[middle] : (times[middle - 1] + times[middle]) / 2;
  }

  std::vector<Ratio> ratios_;
  std::map<std::string, std::vector<double>> seconds_;
  std::map<std::string, double> medians_;
};

// main() of a benchmark program that ends with its ratios.
inline int RunWithRatios(int argc, char** argv, std::vector<RatioReporter::Ratio> ratios) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter(std::move(ratios));
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
  benchmark::Shutdown();
  return 0;
}

} // namespace tv::bench
