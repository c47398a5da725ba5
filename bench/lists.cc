// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/fakes.h>
#include <corvo/user_builder.h>

#include <string>
#include <vector>

#include "bench/bench_client.h"
#include "bench/project.h"
#include "bench/table.h"

// The cost of long lists in a configuration, and of forcing a user into an experiment.

namespace corvo::bench {
namespace {

using benchmark::DoNotOptimize;

constexpr std::size_t kListed = 10'000;
constexpr const char* kListFlag = "listed";
constexpr const char* kListExperiment = "experiment-of-listed";

std::string listsJson() {
  std::vector<std::string> guests;
  for (std::size_t i = 0; i < kListed; ++i) guests.push_back("guest-" + std::to_string(i * 7'919));
  const std::vector<fakes::Value> values(guests.begin(), guests.end());
  const auto isGuest = fakes::where("custom.plan", fakes::Sign::anyOf, values);
  return fakes::project()
      .flag(kListFlag, when(isGuest, true).otherwise(true))
      .experiment(fakes::experiment(kListExperiment, {"control"}).salt("s").forceUsers(guests))
      .toJson();
}

void askListFlag(benchmark::State& state) {
  const BenchClient client(listsJson());
  client.load();
  for (auto _ : state) {
    client->checkFlag<bool>(kListFlag, [](std::optional<bool> on) { DoNotOptimize(on); });
  }
}

void placeAnew(benchmark::State& state) {
  const Project project = Project::decode(listsJson()).value();
  const EvaluationContext::Property user[] = {{"userId", "user-8c1b2f04"}};
  const EvaluationContext who{.properties = user, .now = 1'790'000'000};
  Evaluation about = project.evaluate(who);
  for (auto _ : state) {
    about.reset(who);
    DoNotOptimize(about.getExperiment(kListExperiment));
  }
}

void include(benchmark::State& state) {
  const BenchClient client(projectJson(1'000));
  client.load();
  for (auto _ : state) client->includeForce(kExperiment, 0, [] {});
}

}  // namespace

void addLists() {
  addTime("a flag by \"any of\" 10,000 values, not among them", kNoGoal, askListFlag);
  addTime("another user, getExperiment with 10,000 forced users, not among them", kNoGoal,
          placeAnew);
  addTime("includeForce among 1,000 flags", kNoGoal, include);
}

}  // namespace corvo::bench
