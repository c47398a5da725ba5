// SPDX-License-Identifier: Apache-2.0

#include "tool/chi_square.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

namespace corvo::tool {
namespace {

// From the table of upper critical values in the NIST/SEMATECH e-Handbook of Statistical Methods,
// section 1.3.6.7.4. The table has three decimals.
TEST(ChiSquare, AgreesWithPublishedCriticalValues) {
  constexpr std::array<double, 5> kLevels{0.10, 0.05, 0.025, 0.01, 0.001};
  struct Row {
    std::size_t degrees;
    std::array<double, 5> values;
  };
  constexpr Row kTable[] = {{1, {2.706, 3.841, 5.024, 6.635, 10.828}},
                            {2, {4.605, 5.991, 7.378, 9.210, 13.816}},
                            {3, {6.251, 7.815, 9.348, 11.345, 16.266}},
                            {10, {15.987, 18.307, 20.483, 23.209, 29.588}},
                            {100, {118.498, 124.342, 129.561, 135.807, 149.449}}};
  for (const Row& row : kTable) {
    for (std::size_t i = 0; i < kLevels.size(); ++i) {
      EXPECT_GT(chiSquareTail(row.values[i] - 0.0005, row.degrees), kLevels[i]) << row.degrees;
      EXPECT_LT(chiSquareTail(row.values[i] + 0.0005, row.degrees), kLevels[i]) << row.degrees;
    }
  }
}

// One degree is the square of a normal variable. An even number of degrees is the probability of
// fewer than half as many events of a Poisson process.
TEST(ChiSquare, AgreesWithClosedForms) {
  for (const double x : {1e-9, 0.01, 0.5, 1.0, 2.9, 3.1, 20.0, 60.0, 900.0, 1'300.0}) {
    const double one = std::erfc(std::sqrt(x / 2));
    EXPECT_NEAR(chiSquareTail(x, 1), one, 1e-12 * one + 1e-15) << x;
    for (const int half : {1, 2, 25, 500}) {
      double term = std::exp(-x / 2);
      double sum = 0;
      for (int n = 0; n < half; term *= x / 2 / ++n) sum += term;
      EXPECT_NEAR(chiSquareTail(x, 2U * static_cast<unsigned>(half)), sum, 1e-10 * sum)
          << x << half;
    }
  }
  EXPECT_EQ(chiSquareTail(0, 3), 1);
  EXPECT_EQ(chiSquareTail(std::numeric_limits<double>::infinity(), 3), 0);
  EXPECT_LT(chiSquareTail(1e9, 1), 1e-300);
  EXPECT_NEAR(chiSquareTail(1e6, 1'000'000), 0.5, 0.001);
}

TEST(ChiSquare, JoinsCellsWithFewExpectations) {
  const auto equal = fitOf({{50, 60}, {50, 40}});
  EXPECT_EQ(equal->chiSquare, 4);  // 10 * 10 / 50, twice
  EXPECT_EQ(equal->degreesOfFreedom, 1U);
  EXPECT_FALSE(equal->isFlagged());
  EXPECT_TRUE(fitOf({{50, 70}, {50, 30}})->isFlagged());
  const auto joined = fitOf({{90, 80}, {0, 0}, {4, 9}, {1, 1}, {5, 10}});  // 4 and 1 are joined
  EXPECT_DOUBLE_EQ(joined->chiSquare, 100.0 / 90 + 25.0 / 5 + 25.0 / 5);
  EXPECT_EQ(joined->degreesOfFreedom, 2U);
  // 4 and 4, then 4, 4 and 4.5: what is left over joins the last cell.
  const auto all = fitOf({{4, 1}, {4, 1}, {4, 1}, {4, 1}, {4.5, 16}});
  EXPECT_DOUBLE_EQ(all->chiSquare, 36 / 8.0 + 5.5 * 5.5 / 12.5);
  EXPECT_FALSE(fitOf({{3, 4}, {4, 3}}));
  EXPECT_FALSE(fitOf({{100, 100}}));
  EXPECT_FALSE(fitOf({}));
}

}  // namespace
}  // namespace corvo::tool
