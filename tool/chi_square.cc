// SPDX-License-Identifier: Apache-2.0

#include "tool/chi_square.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <span>
#include <utility>

namespace corvo::tool {
namespace {

// The incomplete gamma functions of Abramowitz and Stegun, Handbook of Mathematical Functions,
// section 6.5: P(a, x) by the series 6.5.29, which converges quickly below a + 1, and
// Q(a, x) = 1 - P(a, x) by the continued fraction 6.5.31 above it.
constexpr double kEpsilon = std::numeric_limits<double>::epsilon();
constexpr int kMostTerms = 1'000'000;  // the number needed grows with the square root of a

double factorOf(double a, double x) { return std::exp(a * std::log(x) - x - std::lgamma(a)); }

double lowerSeries(double a, double x) {
  double term = 1 / a;
  double sum = term;
  for (int n = 1; n < kMostTerms && term > sum * kEpsilon; ++n) sum += term *= x / (a + n);
  return sum * factorOf(a, x);
}

// Evaluated from the front, by the ratios of successive numerators and of successive denominators,
// none of which can be 0 for x > a + 1. The first numerator follows a 0.
double upperFraction(double a, double x) {
  double b = x + 1 - a;
  double numerators = std::numeric_limits<double>::infinity();
  double denominators = 1 / b;
  double fraction = denominators;
  for (int n = 1; n < kMostTerms; ++n) {
    const double coefficient = -n * (n - a);
    b += 2;
    numerators = b + coefficient / numerators;
    denominators = 1 / (b + coefficient * denominators);
    const double change = numerators * denominators;
    fraction *= change;
    if (std::fabs(change - 1) < kEpsilon) break;
  }
  return fraction * factorOf(a, x);
}

}  // namespace

double chiSquareTail(double statistic, std::size_t degreesOfFreedom) {
  const double a = static_cast<double>(degreesOfFreedom) / 2;
  const double x = statistic / 2;
  if (!(x > 0)) return 1;
  if (std::isinf(x)) return 0;
  return x < a + 1 ? 1 - lowerSeries(a, x) : upperFraction(a, x);
}

std::optional<Fit> fitOf(std::vector<ExpectedCount> cells) {
  std::ranges::sort(cells, {}, &ExpectedCount::expected);
  std::size_t joined = 0;  // cells that are large enough; the next one may still be too small
  ExpectedCount small;
  for (const auto& [expected, count] : cells) {
    small.expected += expected;
    small.count += count;
    if (small.expected < kLeastExpected) continue;
    cells[joined++] = std::exchange(small, {});
  }
  if (joined < 2) return std::nullopt;
  cells[joined - 1].expected += small.expected;  // what is left over
  cells[joined - 1].count += small.count;
  Fit fit{.degreesOfFreedom = joined - 1};
  for (const auto& [expected, count] : std::span(cells).first(joined)) {
    const double difference = static_cast<double>(count) - expected;
    fit.chiSquare += difference * difference / expected;
  }
  fit.p = chiSquareTail(fit.chiSquare, fit.degreesOfFreedom);
  return fit;
}

}  // namespace corvo::tool
