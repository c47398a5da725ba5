#include "base/number.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <sstream>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::base {
namespace {

/// Every bit of a double, or "-" for none.
std::string bits(std::optional<double> value) {
  char text[40] = "-";
  if (value) std::snprintf(text, sizeof text, "%a", *value);
  return text;
}
/// The same of what the table expects.
std::string bitsOf(const std::string& expected) {
  if (expected == "-") return bits({});
  return bits(std::strtod(expected.c_str(), nullptr));
}

TEST(Numbers, AreReadAsTheTableSays) {
  const std::string file = CORVO_BASE_CASES "numbers.txt";
  for (const auto& [text, asDouble, decimal, integer] : tests::caseTable<4>(file)) {
    EXPECT_EQ(bits(parseDouble(text)), bitsOf(asDouble)) << text;
    EXPECT_EQ(bits(parseDecimal(text)), bitsOf(decimal)) << text;
    const auto read = parseInteger(text);
    EXPECT_EQ(read ? std::to_string(*read) : "-", integer) << text;
  }
}

#ifdef __GLIBC__  // whose `strtod` is right to the last bit

/// A number near the middle between two doubles, as long as may be; or pieces of numbers.
std::string someText(std::mt19937_64& random) {
  std::string text;
  const auto below = [&](std::size_t count) { return static_cast<std::size_t>(random() % count); };
  if (below(2) == 0) {
    constexpr std::array kPieces{"+",  "-",   ".",  "e",   "E",        "p",    "P",      "0x",
                                 "0X", "0",   "00", "1",   "7",        "93",   "308",    "1074",
                                 "a",  "F",   "8",  "inf", "infinity", "nan(", "_",      ")",
                                 "e-", "p-1", " ",  "\t",  "0x1.",     "1e",   "e+0323", "5."};
    for (std::size_t left = 1 + below(7); left != 0; --left) text += kPieces[below(kPieces.size())];
    return text;
  }
  const auto number = std::fabs(std::bit_cast<double>(random()));
  const long double next = std::nextafter(number, HUGE_VAL);
  std::array<char, 1200> buffer;
  constexpr std::array kFormats{"%.*Lg", "%.*LE", "%.*La"};
  std::snprintf(buffer.data(), buffer.size(), kFormats[below(kFormats.size())],
                static_cast<int>(below(below(8) == 0 ? 1100 : 24)), (number + next) / 2);
  return buffer.data();
}

TEST(Numbers, AreReadToTheLastBitAsStrtodReadsThem) {
  std::mt19937_64 random(20'240'229);
  int accepted = 0;
  for (int round = 0; round < 200'000; ++round) {
    const std::string text = someText(random);
    const std::optional<double> value = parseDouble(text);
    char* end = nullptr;
    const double expected = std::strtod(text.c_str(), &end);
    const bool isNumber = *end == '\0' && std::strchr(" \t", text.front()) == nullptr;
    ASSERT_EQ(bits(value), isNumber ? bits(expected) : "-") << text;
    accepted += isNumber ? 1 : 0;
  }
  EXPECT_GT(accepted, 100'000);
}

#endif

// Sets a locale that writes 1,5 for the whole process: the build's own, or one that the machine
// has.
bool setCommaLocale() {
#ifdef CORVO_LOCALES
  setenv("LOCPATH", CORVO_LOCALES, 1);  // where the GNU C library looks
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

// The shortest texts are those that come back as they are.
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
