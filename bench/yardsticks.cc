// SPDX-License-Identifier: Apache-2.0

#include <corvo/host.h>

#include <array>
#include <cstring>
#include <functional>
#include <string>
#include <unordered_map>

#include "base/md5.h"
#include "base/text_hash.h"
#include "bench/project.h"
#include "bench/table.h"

namespace corvo::bench {

using namespace corvo_internal;

void addYardsticks() {
  addTime(kDigestYardstick, kNoGoal, [](benchmark::State& state) {
    const std::string text(32, 'u');
    for (auto _ : state) {
      std::string_view asked = text;
      benchmark::DoNotOptimize(asked);
      benchmark::DoNotOptimize(base::md5(asked));
    }
  });
  addTime("four of them in parallel", kNoGoal, [](benchmark::State& state) {
    const std::string text(32, 'u');
    std::array<base::Md5Message, base::kMd5Lanes> asked;
    asked.fill({text, ""});
    for (auto _ : state) {
      benchmark::DoNotOptimize(asked);
      benchmark::DoNotOptimize(base::md5OfEach(asked));
    }
  });
  addTime("hash look-up among 1,000 names", kNoGoal, [](benchmark::State& state) {
    std::unordered_map<std::string, int, base::TextHash, std::equal_to<>> table;
    for (std::size_t i = 0; i < 1'000; ++i) table[flagName(i)] = 1;
    const std::string name = flagName(3);
    for (auto _ : state) {
      std::string_view asked = name;
      benchmark::DoNotOptimize(asked);
      benchmark::DoNotOptimize(table.find(asked)->second);
    }
  });
  addTime("clock read", kNoGoal, [](benchmark::State& state) {
    const auto clock = hostPlatform({.inMemory = true}).clock;
    for (auto _ : state) benchmark::DoNotOptimize(clock->now());
  });
  addTime("memcpy of the 1 MB document", kNoGoal, [](benchmark::State& state) {
    const std::string& from = largeDocument();
    std::string to = from;
    for (auto _ : state) {
      std::memcpy(to.data(), from.data(), from.size());
      benchmark::ClobberMemory();
    }
  });
}

}  // namespace corvo::bench
