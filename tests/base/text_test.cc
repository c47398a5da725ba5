#include "base/text.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "base/text_index.h"
#include "tests/base/case_table.h"

namespace corvo::base {
namespace {

using namespace std::string_view_literals;

TEST(WellFormed, MendsAsTheTableSays) {
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

/// Whether the texts are canonically equivalent. What their bytes tell must agree.
bool canonicallyEqual(std::string_view a, std::string_view b) {
  const auto decomposition = [](std::string_view text) {
    return decomposed(text).value_or(std::string(text));
  };
  const bool equal = decomposition(a) == decomposition(b);
  EXPECT_EQ(plainlyEqual(a, b).value_or(equal), equal) << a << ' ' << b;
  return equal;
}

/// Holds each pair of texts, "a=b" between blanks, against each other both ways.
void expectEquality(const char* pairs, bool equal) {
  std::istringstream in(pairs);
  for (std::string pair; in >> pair;) {
    const std::string a = pair.substr(0, pair.find('='));
    const std::string b = pair.substr(pair.find('=') + 1);
    EXPECT_EQ(canonicallyEqual(a, b), equal) << pair;
    EXPECT_EQ(canonicallyEqual(b, a), equal) << pair;
  }
}

TEST(CanonicallyEqual, HoldsForEveryWayToWriteTheSameText) {
  const char* const letters = "= S\u00E3o=Sa\u0303o";
  const char* const singletons =
      "\u212B=\u00C5 \u212B=A\u030A \u2126=\u03A9 \uF900=\u8C48 \U0002F800=\u4E3D";
  const char* const singletonsOfAscii = "\u212A=K a\u037Eb=a;b \u1FEF=`";
  const char* const marksOfSeveralClasses =
      "q\u0307\u0323=q\u0323\u0307 \u0344=\u0308\u0301 \u1E0B\u0323=\u1E0D\u0307 "
      "\u1EA7=a\u0302\u0300 \u0307\u0323=\u0323\u0307";
  const char* const compositionExclusions =
      "\u0958=\u0915\u093C \uFB1D=\u05D9\u05B4 \u2ADC=\u2ADD\u0338";
  const char* const hangul =
      "\uAC00=\u1100\u1161 \uAC00\u11A8=\uAC01 \uD55C\uAE00=\u1112\u1161\u11AB\u1100\u1173\u11AF";
  for (const char* const pairs : {letters, singletons, singletonsOfAscii, marksOfSeveralClasses,
                                  compositionExclusions, hangul}) {
    expectEquality(pairs, true);
  }
  EXPECT_TRUE(canonicallyEqual("a\0\u00E9"sv, "a\0e\u0301"sv));
}

TEST(CanonicallyEqual, FailsForTextsThatOnlyLookAlike) {
  const char* const letters =
      "=a =\u0301 e=e\u0301 plus=plus+ \u00E9=\u00C9 \u00E9x=e\u0301y \u1161\u1100=\uAC00";
  const char* const compatibility = "\uFB01=fi \u00B5=\u03BC \uFF21=A";
  const char* const orderOfMarks =
      "a\u0301\u0308=a\u0308\u0301 \u1EA7=a\u0300\u0302 a\u0323x\u0307=a\u0307x\u0323";
  for (const char* const pairs : {letters, compatibility, orderOfMarks}) {
    expectEquality(pairs, false);
  }
  EXPECT_FALSE(canonicallyEqual("\u00E9\0x"sv, "e\u0301\0y"sv));
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
  EXPECT_TRUE(TextIndex("").contains(""));
  EXPECT_FALSE(TextIndex("").contains("\0"sv));
  EXPECT_TRUE(TextIndex("\0\xFF\0"sv).contains("\xFF\0"sv));
}

// Ordering by exchange of neighbours would take many seconds.
TEST(CanonicallyEqual, OrdersLongRunsOfMarksInTime) {
  std::string above;
  std::string below;
  for (int i = 0; i < 50'000; ++i) {
    above += "\u0307";
    below += "\u0323";
  }
  EXPECT_TRUE(canonicallyEqual("o" + above + below, "o" + below + above));
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
}  // namespace corvo::base
