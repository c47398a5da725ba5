// SPDX-License-Identifier: Apache-2.0

#include "bench/allocations.h"
#include "bench/bench_client.h"
#include "bench/project.h"
#include "bench/table.h"

namespace corvo::bench {
namespace {

/// The number of allocations of a question that has been asked before.
template <class Ask>
double allocationsOf(Ask ask) {
  CorvoClient& client = clientOf(1'000);
  ask(client);
  const std::size_t before = allocationCount();
  ask(client);
  return static_cast<double>(allocationCount() - before);
}

/// The goal for counts that should be zero.
constexpr Goal kNone = 1e-9;

}  // namespace

void addCounts() {
  addCount("allocations: a flag by a rule", kNone, [] {
    return allocationsOf(
        [](CorvoClient& client) { client.checkFlag<bool>(kRuleFlag, [](std::optional<bool>) {}); });
  });
  addCount("allocations: suspending, a flag by a rule", kNone, [] {
    return allocationsOf(
        [](CorvoClient& client) { static_cast<void>(client.checkFlag<bool>(kRuleFlag).get()); });
  });
  addCount("allocations: a flag through an experiment", kNoGoal, [] {
    return allocationsOf([](CorvoClient& client) {
      client.checkFlag<bool>(kCarriedFlag, [](std::optional<bool>) {});
    });
  });
  addCount("allocations: an unknown flag of 15 bytes", kNone, [] {
    return allocationsOf([](CorvoClient& client) {
      client.checkFlag<bool>("no-such-flag-is", [](std::optional<bool>) {});
    });
  });
  addCount("allocations: getExperiment", kNoGoal, [] {
    return allocationsOf([](CorvoClient& client) {
      client.getExperiment(kExperiment, [](const CorvoExperimentPointer&) {});
    });
  });
  addCount("allocations: report of 1,000 flags", kNoGoal, [] {
    return allocationsOf(
        [](CorvoClient& client) { client.getUserFeatureFlagsDetails([](const FlagReport&) {}); });
  });
}

}  // namespace corvo::bench
