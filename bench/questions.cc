// SPDX-License-Identifier: Apache-2.0

#include <map>
#include <string>
#include <vector>

#include "bench/bench_client.h"
#include "bench/project.h"
#include "bench/table.h"

namespace corvo::bench {
namespace {

using benchmark::DoNotOptimize;

/// Asks for one flag after another in the callback form.
auto check(std::size_t flagCount, std::vector<std::string> names) {
  return [flagCount, names = std::move(names)](benchmark::State& state) {
    CorvoClient& client = clientOf(flagCount);
    std::size_t next = 0;
    for (auto _ : state) {
      client.checkFlag<bool>(
          names[next], [](std::optional<bool> on) { DoNotOptimize(on); },
          [](const CorvoError& error) { DoNotOptimize(&error); });
      if (++next == names.size()) next = 0;
    }
  };
}

/// Asks for one flag in the suspending form.
auto await(std::string name) {
  return [name = std::move(name)](benchmark::State& state) {
    CorvoClient& client = clientOf(1'000);
    for (auto _ : state) {
      try {
        DoNotOptimize(client.checkFlag<bool>(name).get());
      } catch (const CorvoError& error) {
        DoNotOptimize(&error);
      }
    }
  };
}

}  // namespace

void addQuestions() {
  for (const auto& [flagCount, flags] : std::map<std::size_t, std::string>{
           {10, "10 flags"}, {1'000, "1,000 flags"}, {10'000, "10,000 flags"}}) {
    const bool isLarge = flagCount == 10'000;  // may take 2.3 times as long
    const Goal rules = isLarge ? 2.3 * 92 : 92;
    const Goal unknown = isLarge ? 2.3 * 80 : 80;
    addTime("a flag by a rule, " + flags, rules, check(flagCount, {kRuleFlag}));
    addTime("flags by a rule, shuffled, " + flags, kNoGoal,
            check(flagCount, shuffledRuleFlags(flagCount)));
    addTime("an unknown flag, " + flags, unknown, check(flagCount, {kUnknownFlag}));
  }
  addTime("a flag by a rule with a date", 122, check(1'000, {kDateFlag}));
  addTime("a flag through an experiment, one digest", 184, check(1'000, {kCarriedFlag}));
  addTime("a flag through a layered experiment, two digests", 300, check(1'000, {kLayeredFlag}));
  addTime("suspending: a flag by a rule", 112, await(kRuleFlag));
  addTime("suspending: a flag through an experiment", kNoGoal, await(kCarriedFlag));
  addTime("suspending: an unknown flag, thrown", kNoGoal, await(kUnknownFlag));
  addTime("getExperiment", kNoGoal, [](benchmark::State& state) {
    CorvoClient& client = clientOf(1'000);
    for (auto _ : state) {
      client.getExperiment(kExperiment, [](const CorvoExperimentPointer& experiment) {
        DoNotOptimize(&experiment);
      });
    }
  });
  addTime("explainFlag: a flag by a rule", kNoGoal, [](benchmark::State& state) {
    CorvoClient& client = clientOf(1'000);
    for (auto _ : state) {
      client.explainFlag(kRuleFlag, [](const Explanation& why) { DoNotOptimize(&why); });
    }
  });
}

void addReports() {
  addTime("report of 1,000 flags", 127'000, [](benchmark::State& state) {
    CorvoClient& client = clientOf(1'000);
    for (auto _ : state) {
      client.getUserFeatureFlagsDetails([](const FlagReport& report) { DoNotOptimize(&report); });
    }
  });
  addTime("handles of 1,000 experiments", kNoGoal, [](benchmark::State& state) {
    CorvoClient& client = clientOfExperiments();
    for (auto _ : state) {
      client.getAllUserExperiments([](const auto& list) { DoNotOptimize(&list); });
    }
  });
  addTime("text of 1,000 experiments", kNoGoal, [](benchmark::State& state) {
    CorvoClient& client = clientOfExperiments();
    for (auto _ : state) {
      client.getAllUserExperimentsText([](const auto& text) { DoNotOptimize(&text); });
    }
  });
  addTime("details of 1,000 experiments", 400'000, [](benchmark::State& state) {
    CorvoClient& client = clientOfExperiments();
    for (auto _ : state) {
      client.getUserExperimentsDetails([](const auto& list) { DoNotOptimize(&list); });
    }
  });
}

}  // namespace corvo::bench
