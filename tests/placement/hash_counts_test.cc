// SPDX-License-Identifier: Apache-2.0

#include "placement/hash_counts.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "placement/bucketing.h"
#include "tests/base/case_table.h"
#include "tests/placement/experiment_text.h"

namespace corvo::corvo_internal::placement {
namespace {

using tests::experimentOf;

constexpr double kRange = 85407170560000.0 / 0x1p33;
constexpr double kHashesOfUnit = 0x1p32 / kRange;

// Each of at most some 300 boundaries lies between two hashes.
constexpr double kTolerance = 600;

TEST(HashCounts, AgreeWithTheLengthsOfTheRanges) {
  for (const auto& [what, json, layer, allocation, groups] :
       tests::caseTable<5>(CORVO_PLACEMENT_CASES "hash_counts.txt")) {
    SCOPED_TRACE(what);
    const HashCounts counts = countHashes(experimentOf(json));
    const auto expect = [](std::uint64_t count, double length) {
      EXPECT_NEAR(static_cast<double>(count), length * kHashesOfUnit, kTolerance);
    };
    expect(counts.insideLayer, std::stod(layer));
    expect(counts.insideAllocation, std::stod(allocation));
    std::istringstream lengths(groups);
    for (const std::uint64_t group : counts.groups) {
      double length = -1;
      lengths >> length;
      expect(group, length);
    }
    EXPECT_TRUE((lengths >> std::ws).eof());
  }
}

// An allocation admits the hashes up to a magnitude. So the difference between two allocations is
// a window of magnitudes, which is narrow enough to try every hash in it.
TEST(HashCounts, AreExact) {
  const auto experiment = [](double allocation, const std::string& groups) {
    return experimentOf(R"({"salt": "s", "allocation": )" + std::to_string(allocation) +
                        R"(, "groups": )" + groups + "}");
  };
  const std::string odd =
      R"([{"name": "x", "weight": 0.0000071}, {"name": "y", "weight": 0.3333333},
                              {"name": "z", "weight": 0.3}, {"name": "a", "weight": 0.2}])";
  const std::string halves = R"([{"name": "x", "weight": 0.5}, {"name": "y", "weight": 0.5}])";
  for (const auto& [centre, groups] :
       std::vector<std::pair<double, std::string>>{{0, odd},
                                                   {0.003334, odd},
                                                   {0.01, odd},
                                                   {0.018333, odd},
                                                   {0.9034, odd},
                                                   {0.005, halves},
                                                   {0.7, halves},
                                                   {0.994270, halves}}) {
    SCOPED_TRACE(centre);
    const model::Experiment narrow = experiment(centre - 1e-6, groups);
    const model::Experiment wide = experiment(centre + 1e-6, groups);
    const HashCounts before = countHashes(narrow);
    HashCounts after = countHashes(wide);
    std::uint64_t admitted = 0;
    std::vector<std::uint64_t> tried(after.groups.size());
    const double middle = centre * 10'000 / kRange * 0x1p31;
    for (double hash = std::fmax(std::floor(middle) - 3'000, 0);
         hash <= std::fmin(middle + 3'000, 0x1p31); ++hash) {
      for (const double each : {hash, -hash}) {
        if (each == 0x1p31 || (hash == 0 && std::signbit(each))) continue;
        const double bucket = each * 85407170560000.0 * 0x1p-64;
        const Known known{.bucket = &bucket};
        if (assignGroup("u", narrow, known).group != nullptr) continue;
        const Placement placement = assignGroup("u", wide, known);
        if (placement.group == nullptr) continue;
        ++admitted;
        ++tried[placement.index];
      }
    }
    EXPECT_EQ(after.insideAllocation - before.insideAllocation, admitted);
    EXPECT_GT(admitted, 0U);
    for (std::size_t i = 0; i < tried.size(); ++i) {
      EXPECT_EQ(after.groups[i] - before.groups[i], tried[i]) << i;
    }
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::placement
