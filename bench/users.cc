// SPDX-License-Identifier: Apache-2.0

#include <corvo/user_builder.h>

#include <array>
#include <optional>
#include <string_view>
#include <utility>

#include "bench/bench_client.h"
#include "bench/table.h"

// The cost of setting a client's user.

namespace corvo::bench {
namespace {

CorvoUser userOfNine(std::string_view userId) {
  return CorvoUser::Builder()
      .setUserId(userId)
      .setEmail("someone@example.com")
      .setAppVersion("3.14.1")
      .setGeoCity("Sevilla")
      .setGeoCountry("Spain")
      .setCustomProperty("gold", "plan")
      .setCustomProperty(42, "level")
      .setCustomProperty(true, "newsletter")
      .setCustomProperty("2024-03-01 12:00", "since")
      .build();
}

/// Alternates between two users, so that each replaces the other.
void setUsers(benchmark::State& state, HostOptions options) {
  const std::array users{userOfNine("user-8c1b2f04"), userOfNine("user-8c1b2f05")};
  const BenchClient client("", std::move(options));
  std::size_t number = 0;
  for (auto _ : state) client->setUser(users[number++ % users.size()]);
}

void start(benchmark::State& state) {
  const DataFolder folder("corvo-bench-users");
  const CorvoUser user = userOfNine("user-8c1b2f04");
  std::optional<BenchClient> client(std::in_place, "", folder.options());
  for (auto _ : state) {
    state.PauseTiming();
    client.reset();
    state.ResumeTiming();
    client.emplace("", folder.options(), user);
  }
}

}  // namespace

void addUsers() {
  addTime("building a user of 9 properties", kNoGoal, [](benchmark::State& state) {
    for (auto _ : state) benchmark::DoNotOptimize(userOfNine("user-8c1b2f04"));
  });
  addTime("setUser in memory", kNoGoal,
          [](benchmark::State& state) { setUsers(state, {.inMemory = true}); });
  addTime("setUser with a file", kNoGoal, [](benchmark::State& state) {
    const DataFolder folder("corvo-bench-users");
    setUsers(state, folder.options());
  });
  addTime("start with an initial user on an existing file", 0.6e6, start);
}

}  // namespace corvo::bench
