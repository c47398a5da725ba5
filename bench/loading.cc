// SPDX-License-Identifier: Apache-2.0

#include <fstream>
#include <memory>
#include <optional>
#include <utility>
#include <variant>
#ifdef __GLIBC__
#include <malloc.h>
#include <unistd.h>
#endif

#include "bench/allocations.h"
#include "bench/bench_client.h"
#include "bench/project.h"
#include "bench/table.h"
#include "model/codec.h"
#include "project/prepared_project.h"

namespace corvo::bench {

using namespace corvo_internal;

namespace {

std::shared_ptr<const model::ConfigResponse> decoded() {
  return std::make_shared<const model::ConfigResponse>(
      std::get<model::ConfigResponse>(model::decodeJson<model::ConfigResponse>(largeDocument())));
}

/// The start of an application that has run before: from nothing to the first answer.
void start(benchmark::State& state) {
  const DataFolder folder("corvo-bench");
  BenchClient(largeDocument(), folder.options()).load();
  std::optional<BenchClient> client;
  for (auto _ : state) {
    client.emplace("", folder.options(), std::nullopt);
    (*client)->checkFlag<bool>(kRuleFlag,
                               [](std::optional<bool> on) { benchmark::DoNotOptimize(on); });
    state.PauseTiming();
    client.reset();
    state.ResumeTiming();
  }
}

double liveKilobytes() {
  largeDocument();  // created first, so that its text is not counted
  const std::size_t before = liveBytes();
  const project::PreparedProject project(decoded());
  return static_cast<double>(liveBytes() - before) / 1e3;
}

#ifdef __GLIBC__
/// The growth of the program after the document is loaded, including the parser's memory unless it
/// was returned to the system.
double residentKilobytes() {
  const auto resident = [] {
    std::size_t size = 0;
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> size >> pages;
    return static_cast<double>(pages) * static_cast<double>(sysconf(_SC_PAGESIZE)) / 1e3;
  };
  largeDocument();
  malloc_trim(0);
  const double before = resident();
  const project::PreparedProject project(decoded());
  return resident() - before;
}
#endif

}  // namespace

void addLoading() {
#ifdef __GLIBC__
  addCount("resident growth by 1 MB loaded, kB", kNoGoal, residentKilobytes);
#endif
  addTime("decode and prepare 1 MB", 4e6, [](benchmark::State& state) {
    for (auto _ : state) {
      const project::PreparedProject project(decoded());
      benchmark::DoNotOptimize(&project);
    }
  });
  addTime("encode 1 MB", 4e6, [](benchmark::State& state) {
    const auto config = decoded();
    for (auto _ : state) benchmark::DoNotOptimize(model::encodeJson(*config));
  });
  addTime("cold start with 1 MB stored", 8e6, start);
  addCount("live heap of 1 MB once loaded, kB", 1'000, liveKilobytes);
}

}  // namespace corvo::bench
