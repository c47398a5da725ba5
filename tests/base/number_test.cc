// SPDX-License-Identifier: Apache-2.0

#include "base/number.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::base {
namespace {

/// All bits of a double, or "-" if empty.
std::string bits(std::optional<double> value) {
  char text[40] = "-";
  if (value) std::snprintf(text, sizeof text, "%a", *value);
  return text;
}
/// The same for the expected value.
std::string bitsOf(const std::string& expected) {
  if (expected == "-") return bits({});
  return bits(std::strtod(expected.c_str(), nullptr));
}

TEST(Numbers, AreReadAsTheTableSays) {
  const std::string file = CORVO_BASE_CASES "numbers.txt";
  for (const auto& [folded, asDouble, decimal, integer] : tests::caseTable<4>(file)) {
    const std::string text = tests::unfolded(folded);
    EXPECT_EQ(bits(parseDouble(text)), bitsOf(asDouble)) << text;
    EXPECT_EQ(bits(parseDecimal(text)), bitsOf(decimal)) << text;
    const auto read = parseInteger(text);
    EXPECT_EQ(read ? std::to_string(*read) : "-", integer) << text;
  }
}

// Sets a locale with a decimal comma for the whole process: the build's own, or one of the machine.
bool setCommaLocale() {
#ifdef CORVO_LOCALES
  setenv("LOCPATH", CORVO_LOCALES, 1);  // where glibc looks
#endif
  for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "de_DE", "fr_FR.UTF-8", "German"}) {
    if (std::setlocale(LC_ALL, name) == nullptr) continue;
    if (*std::localeconv()->decimal_point == ',') return true;
  }
  return false;
}

void expectPointAsDecimalSign() {
  EXPECT_EQ(parseDouble("1.5"), 1.5);
  EXPECT_EQ(parseDouble("1,5"), std::nullopt);
  EXPECT_EQ(parseDecimal("1.5"), 1.5);
  EXPECT_EQ(describe(1.5), "1.5");
}

TEST(Numbers, IgnoreTheLocaleOfProcessAndThread) {
  const bool isSet = setCommaLocale();
#ifdef CORVO_LOCALES
  ASSERT_TRUE(isSet);
#endif
  if (!isSet) GTEST_SKIP() << "no locale with a decimal comma is installed";
  expectPointAsDecimalSign();
#ifndef _WIN32
  const locale_t comma = newlocale(LC_ALL_MASK, std::setlocale(LC_ALL, nullptr), nullptr);
  std::setlocale(LC_ALL, "C");
  const locale_t before = uselocale(comma);
  expectPointAsDecimalSign();
  uselocale(before);
  freelocale(comma);
#endif
  std::setlocale(LC_ALL, "C");
}

// The shortest texts are exactly those that are printed unchanged.
TEST(Describe, WritesTheShortestDigitsThatReadBack) {
  std::istringstream doubles(
      "42.0 -42.5 100000.0 0.1 0.30000000000000004 0.3333333333333333 123456.789 0.0001 0.00012345 "
      "1e-05 1.2345e-05 9.999999999999999e-05 9999999999999998.0 1000000000000000.0 1e+16 -1e+16 "
      "1.2345e+22 1e+100 1.7976931348623157e+308 5e-324 0.0 -0.0 inf -inf nan");
  for (std::string text; doubles >> text;) {
    EXPECT_EQ(describe(std::strtod(text.c_str(), nullptr)), text);
  }
  std::istringstream floats(
      "0.1 42.0 16777216.0 0.0001 1e-05 1e+16 -0.0 3400000000000000.0 -3.4028235e+38 1e-45 inf");
  for (std::string text; floats >> text;) {
    EXPECT_EQ(describe(std::strtof(text.c_str(), nullptr)), text);
  }
  EXPECT_EQ(describe(-std::nan("")), "nan");
  EXPECT_EQ(describe(-std::nanf("")), "nan");
}

}  // namespace
}  // namespace corvo::corvo_internal::base
