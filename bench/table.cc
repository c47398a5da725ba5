// SPDX-License-Identifier: Apache-2.0

#include "bench/table.h"

#include <algorithm>
#include <iomanip>
#include <map>
#include <optional>
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

/// The goals of the measurements, in display order.
std::vector<std::pair<std::string, Goal>>& goals() {
  static std::vector<std::pair<std::string, Goal>> all;
  return all;
}

/// Collects the times of each measurement's repetitions, in nanoseconds.
class Times final : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Aggregate) continue;
      const double perSecond = benchmark::GetTimeUnitMultiplier(run.time_unit);
      times_[run.run_name.function_name].push_back(run.GetAdjustedRealTime() / perSecond * 1e9);
    }
  }

  /// The median and the minimum; empty for a benchmark that did not run.
  struct Summary {
    double median;
    double best;
  };
  std::optional<Summary> of(const std::string& name) {
    std::vector<double>& times = times_[name];
    if (times.empty()) return std::nullopt;
    std::sort(times.begin(), times.end());
    return Summary{times[times.size() / 2], times.front()};
  }

 private:
  std::map<std::string, std::vector<double>> times_;
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
  Times times;
  benchmark::RunSpecifiedBenchmarks(&times);
  const auto digest = times.of(kDigestYardstick);
  out << "| what | median, ns | minimum, ns | in digests | goal, ns |\n|---|--:|--:|--:|--:|\n";
  for (const auto& [name, goal] : goals()) {
    const auto time = times.of(name);
    if (!time) continue;  // filtered out
    out << "| " << name << " | " << shown(time->median) << " | " << shown(time->best) << " | "
        << (digest ? shown(time->median / digest->median) : "") << " | "
        << shown(goal, time->median) << " |\n";
  }
  out << "\n| what | count | goal |\n|---|--:|--:|\n";
  for (std::size_t i = 0; i < counted.size(); ++i) {
    const Count& each = counts()[i];
    out << "| " << each.name << " | " << shown(counted[i]) << " | " << shown(each.most, counted[i])
        << " |\n";
  }
}

}  // namespace corvo::bench
