#pragma once
// Console output of Google Benchmark plus, at the end, named ratios between runs of the same
// program: our figure next to a peer or a limit measured in the same run.

#include <benchmark/benchmark.h>

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
    for (const Run& run : runs)
      if (run.run_type == Run::RT_Iteration && !run.error_occurred) seconds_[run.benchmark_name()] = run.GetAdjustedRealTime();
  }

  // Speed of `ours` relative to `peer`: above 1 means ours is faster.
  void PrintRatios() const {
    std::printf("\n%-58s %8s   %s\n", "ratio (speed of ours / speed of peer)", "value", "goal");
    for (const Ratio& ratio : ratios_) {
      const auto ours = seconds_.find(ratio.ours);
      const auto peer = seconds_.find(ratio.peer);
      if (ours == seconds_.end() || peer == seconds_.end() || ours->second <= 0) {
        std::printf("%-58s %8s   %s\n", ratio.label.c_str(), "n/a", ratio.goal.c_str());
        continue;
      }
      std::printf("%-58s %8.3f   %s\n", ratio.label.c_str(), peer->second / ours->second, ratio.goal.c_str());
    }
  }

private:
  std::vector<Ratio> ratios_;
  std::map<std::string, double> seconds_;
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
