// A console reporter that remembers each benchmark's time, so that a benchmark can print after
// its table how it compares with its peer: peer time / our time, 1 meaning as fast as the peer.
// CPU time is compared, the best of the repetitions (--benchmark_repetitions), which other work
// on a busy machine disturbs less than wall time.
#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  std::map<std::string, double> time, realTime;
  RatioReporter() : ConsoleReporter(OO_None) {}
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration) continue;
      auto [at, added] = time.emplace(run.benchmark_name(), run.GetAdjustedCPUTime());
      if (!added) at->second = std::min(at->second, run.GetAdjustedCPUTime());
      auto [real, realAdded] = realTime.emplace(run.benchmark_name(), run.GetAdjustedRealTime());
      if (!realAdded) real->second = std::min(real->second, run.GetAdjustedRealTime());
    }
    ConsoleReporter::ReportRuns(runs);
  }
  // `goal` 0 states no goal. `wall` compares wall time instead, where work on other threads
  // counts (the best repetition, as for CPU time).
  void ratio(const char* what, const std::string& ours, const std::string& peer, double goal = 0,
             bool wall = false) {
    std::map<std::string, double>& times = wall ? realTime : time;
    if (!times.count(ours) || !times.count(peer)) return;
    double r = times[peer] / times[ours];
    if (goal == 0) std::printf("%-52s %6.2f\n", what, r);
    else std::printf("%-52s %6.2f  (goal %.1f: %s)\n", what, r, goal, r >= goal ? "met" : "missed");
  }
};

// Runs the registered benchmarks, then prints `title` and calls `ratios(reporter)`, which
// prints the comparisons with reporter.ratio.
template <typename Ratios>
int runBenchmarksWithRatios(int argc, char** argv, const char* title, Ratios ratios) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  std::printf("\n%s\n", title);
  ratios(reporter);
  benchmark::Shutdown();
  return 0;
}
