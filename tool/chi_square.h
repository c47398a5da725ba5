// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace corvo::tool {

/// The probability that a chi-square statistic with so many degrees of freedom is at least this
/// large.
[[nodiscard]] double chiSquareTail(double statistic, std::size_t degreesOfFreedom);

/// Chance hardly explains a result that is less probable than this.
inline constexpr double kFlaggedBelow = 0.001;

/// How well counts fit their expectations.
struct Fit {
  double chiSquare = 0;
  std::size_t degreesOfFreedom = 1;
  double p = 1;  ///< The probability of a fit that is this bad or worse.

  [[nodiscard]] bool isFlagged() const noexcept { return p < kFlaggedBelow; }
};

struct ExpectedCount {
  double expected = 0;
  std::uint64_t count = 0;
};

/// Pearson's test. Expectations must have the same sum as the counts. The test needs at least
/// `kLeastExpected` in each cell: smaller cells are joined, the smallest first. Empty if fewer than
/// two cells are left.
inline constexpr double kLeastExpected = 5;
[[nodiscard]] std::optional<Fit> fitOf(std::vector<ExpectedCount> cells);

}  // namespace corvo::tool
