// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <ostream>
#include <string>

// Registers measurements and prints them as a table.

namespace corvo::bench {

/// The target for a measurement: nanoseconds or a count. Empty if there is none.
using Goal = double;
constexpr Goal kNoGoal = 0;

/// Adds a time measurement. `run` contains the loop over the state.
void addTime(const std::string& name, Goal nanoseconds, std::function<void(benchmark::State&)> run);

/// Adds a count: of allocations, or of bytes.
void addCount(const std::string& name, Goal most, std::function<double()> count);

/// The row by which the others are divided.
constexpr const char* kDigestYardstick = "MD5 of 32 bytes";

void addYardsticks();
void addQuestions();
void addReports();
void addBatches();
void addShells();
void addLists();
void addUsers();
void addLoading();
void addCounts();
void addBatchCounts();

/// Runs all measurements and writes them as a Markdown table. For times, it shows the median, the
/// minimum (which is more useful on a busy machine) and the ratio of the median to the digest.
void runAll(std::ostream& out);

}  // namespace corvo::bench
