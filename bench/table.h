#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <ostream>
#include <string>

// What is measured, and how it is shown.

namespace corvo::bench {

/// What a thing should cost at most: nanoseconds or a count. None where nobody set a goal.
using Goal = double;
constexpr Goal kNoGoal = 0;

/// Has a measurement made. `run` has the loop over the state.
void addTime(const std::string& name, Goal nanoseconds, std::function<void(benchmark::State&)> run);

/// Has a count made: of allocations, or of bytes.
void addCount(const std::string& name, Goal most, std::function<double()> count);

/// The row that the others are divided by.
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

/// Makes all measurements and writes them as a table in Markdown: of times the median, the shortest
/// (which says more where other programs share the machine) and the median's ratio to the digest.
void runAll(std::ostream& out);

}  // namespace corvo::bench
