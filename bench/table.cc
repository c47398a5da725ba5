#include "bench/table.h"

#include <iomanip>
#include <map>
#include <utility>
#include <vector>

namespace corvo::bench {
namespace {

struct Count {
  std::string name;
  Goal most;
  std::function<double()> count;
};

std::vector<Count>& counts() {
  static std::vector<Count> all;
  return all;
}

/// The goals of the measurements, in the order in which they are shown.
std::vector<std::pair<std::string, Goal>>& goals() {
  static std::vector<std::pair<std::string, Goal>> all;
  return all;
}

/// Collects the median of each measurement, in nanoseconds.
class Medians final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      const bool isMedian = run.aggregate_name == "median";
      if (!isMedian && (run.run_type == Run::RT_Aggregate || run.repetitions > 1)) continue;
      const double perSecond = benchmark::GetTimeUnitMultiplier(run.time_unit);
      times[run.run_name.function_name] = run.GetAdjustedRealTime() / perSecond * 1e9;
    }
  }

  std::map<std::string, double> times;
};

std::string shown(double value) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(value < 100 ? 1 : 0) << value;
  return text.str();
}

std::string shown(Goal goal, double value) {
  if (goal == kNoGoal) return "";
  return shown(goal) + (value <= goal ? "" : " (missed)");
}

}  // namespace

void addTime(const std::string& name, Goal nanoseconds,
             std::function<void(benchmark::State&)> run) {
  goals().emplace_back(name, nanoseconds);
  benchmark::RegisterBenchmark(name.c_str(), std::move(run));
}

void addCount(const std::string& name, Goal most, std::function<double()> count) {
  counts().push_back({name, most, std::move(count)});
}

void runAll(std::ostream& out) {
  std::vector<double> counted;  // before the measurements fill the heap
  for (const Count& each : counts()) counted.push_back(each.count());
  Medians medians;
  benchmark::RunSpecifiedBenchmarks(&medians);
  const double digest = medians.times[kDigestYardstick];
  out << "| what | ns | in digests | goal, ns |\n|---|--:|--:|--:|\n";
  for (const auto& [name, goal] : goals()) {
    const auto measured = medians.times.find(name);
    if (measured == medians.times.end() || measured->second == 0) continue;  // filtered out
    const double time = measured->second;
    out << "| " << name << " | " << shown(time) << " | " << (digest > 0 ? shown(time / digest) : "")
        << " | " << shown(goal, time) << " |\n";
  }
  out << "\n| what | count | goal |\n|---|--:|--:|\n";
  for (std::size_t i = 0; i < counted.size(); ++i) {
    const Count& each = counts()[i];
    out << "| " << each.name << " | " << shown(counted[i]) << " | " << shown(each.most, counted[i])
        << " |\n";
  }
}

}  // namespace corvo::bench
