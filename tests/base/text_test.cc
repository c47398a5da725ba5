// SPDX-License-Identifier: Apache-2.0

#include "base/text.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "base/nearest_word.h"
#include "base/text_index.h"
#include "tests/base/case_table.h"

namespace corvo::corvo_internal::base {
namespace {

using namespace std::string_view_literals;

TEST(WellFormed, RepairsTextsAsTheTableSays) {
  for (const auto& [given, mended] : tests::caseTable<2>(CORVO_BASE_CASES "utf8.txt")) {
    const bool isWellFormedAlready = mended.empty();
    EXPECT_EQ(isWellFormed(given), isWellFormedAlready) << given;
    const WellFormed result(given);
    const std::string_view text = result;
    EXPECT_EQ(text, isWellFormedAlready ? given : mended);
    EXPECT_EQ(text.data() == given.data(), isWellFormedAlready) << given;
  }
}

TEST(WellFormed, SeesABadByteAtEveryPlaceOfAnAsciiText) {
  for (std::size_t bad = 0; bad < 24; ++bad) {
    for (std::size_t after = 0; bad + after < 24; ++after) {
      const std::string text = std::string(bad, 'x') + '\xFF' + std::string(after, 'x');
      const std::string mended = std::string(bad, 'x') + "\uFFFD" + std::string(after, 'x');
      EXPECT_EQ(std::string_view(WellFormed(text)), mended);
    }
  }
}

/// Whether the texts are canonically equivalent. If their bytes decide, both results must agree.
bool canonicallyEqual(std::string_view a, std::string_view b) {
  const auto decomposition = [](std::string_view text) {
    return decomposed(text).value_or(std::string(text));
  };
  const bool equal = decomposition(a) == decomposition(b);
  EXPECT_EQ(plainlyEqual(a, b).value_or(equal), equal) << a << ' ' << b;
  return equal;
}

TEST(CanonicallyEqual, HoldsAsTheTableSays) {
  for (const auto& [isEqual, a, b, what] :
       tests::caseTable<4>(CORVO_BASE_CASES "equivalents.txt")) {
    EXPECT_EQ(canonicallyEqual(a, b), isEqual == "yes") << what;
    EXPECT_EQ(canonicallyEqual(b, a), isEqual == "yes") << what;
  }
}

TEST(Decomposed, IsGivenWhereItDiffersFromTheText) {
  for (const std::string_view same : {""sv, "K;`"sv, "e\u0301"sv, "\u1112\u1161"sv, "\u0627"sv,
                                      "q\u0323\u0307"sv, "\u4E3D\U0001F600"sv}) {
    EXPECT_EQ(decomposed(same), std::nullopt) << same;
  }
  EXPECT_EQ(decomposed("x\u00E9\u0323\U0001F600"), "xe\u0323\u0301\U0001F600");
  EXPECT_EQ(plainlyEqual("Graz", "G\u00F6teborg"), std::nullopt);
  EXPECT_EQ(plainlyEqual("Graz", "Z\u00FCrich"), false);
}

TEST(Shortened, EndsBetweenCharacters) {
  const struct {
    const char* text;
    std::size_t most;
    const char* expected;
  } cases[] = {
      {"abc", 3, "abc"},
      {"abcd", 3, "abc\u2026"},
      {"", 0, ""},
      {"a\u20acb", 4, "a\u20ac\u2026"},
      {"a\u20acb", 3, "a\u2026"},
      {"a\u20ac", 4, "a\u20ac"},
      {"\u20acb", 2, "\u2026"},
      {"\x80\x80\x80", 2, "\u2026"},
  };
  for (const auto& [text, most, expected] : cases) EXPECT_EQ(shortened(text, most), expected);
}

TEST(Contains, FindsAPartWhereverItStands) {
  const std::string half = std::string(40, 'a') + 'b';
  const std::string whole = 'a' + half + half + half + 'c';
  const TextIndex index(whole);
  const auto expect = [&](const std::string& part, bool contained) {
    EXPECT_EQ(contains(whole, part), contained) << part;
    EXPECT_EQ(index.contains(part), contained) << part;
  };
  for (std::size_t at = 0; at <= whole.size(); ++at) {
    for (const std::size_t size : {0U, 1U, 2U, 41U, 64U, 65U, 100U, 125U, 126U}) {
      const std::string part = whole.substr(at, size);
      expect(part, true);
      expect(part + 'd', false);
    }
  }
  EXPECT_TRUE(TextIndex("abaaa").contains("aaa"));  // its last suffixes are nested prefixes
  EXPECT_TRUE(TextIndex("").contains(""));
  EXPECT_FALSE(TextIndex("").contains("\0"sv));
  EXPECT_TRUE(TextIndex("\0\xFF\0"sv).contains("\xFF\0"sv));
}

TEST(NearestWord, IsTheOneThatTheTableSays) {
  for (const auto& [text, first, second, nearest] :
       tests::caseTable<4>(CORVO_BASE_CASES "nearest_words.txt")) {
    EXPECT_EQ(nearestWord(text, std::array<std::string_view, 2>{first, second}), nearest) << text;
  }
}

TEST(EqualsLowerCased, FoldsAsciiCaseOnly) {
  EXPECT_TRUE(equalsLowerCased("true", "true"));
  EXPECT_TRUE(equalsLowerCased("TrUE", "true"));
  for (const std::string_view other : {""sv, "tru"sv, "true "sv, " true"sv, "true\0"sv,
                                       "\uFF34RUE"sv, "TR\xD5\x45"sv, "\x14rue"sv, "4RUE"sv}) {
    EXPECT_FALSE(equalsLowerCased(other, "true")) << other;
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::base
