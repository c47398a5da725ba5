// SPDX-License-Identifier: Apache-2.0

#include "base/name_index.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::base {
namespace {

// By hand: the squares of 2^64 - 1 and 2^32 - 1 are 2^128 - 2^65 + 1 and 2^64 - 2^33 + 1.
TEST(TextHash, FoldsBothHalvesOfAProduct) {
  constexpr std::uint64_t kAll = UINT64_MAX;
  constexpr std::uint64_t kHalf = UINT32_MAX;
  EXPECT_EQ(foldedProduct(kAll, kAll), kAll);
  EXPECT_EQ(foldedProduct(kHalf, kHalf), 0xFFFF'FFFE'0000'0001);
  EXPECT_EQ(foldedProduct(kAll, kHalf + 1), kAll);
  EXPECT_EQ(foldedProduct(kHalf + 1, kAll), kAll);
  EXPECT_EQ(foldedProduct(kHalf + 1, kHalf + 1), 1U);
  EXPECT_EQ(foldedProduct(kAll, 1), kAll);
}

TEST(TextHash, DistinguishesTextsWithTheSameEndWhateverTheSecrets) {
  // Read as words, the texts of each pair differ only in their sizes, or in words that could cancel
  // out.
  constexpr std::string_view kPairs[][2] = {{"a", "ba"},
                                            {"ab", "`bb"},
                                            {"ab", "abb"},
                                            {"aaaa", "`aaaa"},
                                            {"aaaaaaa", "naaaaaaa"},
                                            {"aaaaaaa", "aaaaaaaa"},
                                            {"aaaaaaaaa", "baaaaaaaaa"},
                                            {"aaaaaaaaa", "aaaaaaaaaa"}};
  for (const auto& [a, b] : kPairs) {
    EXPECT_NE(TextHash()(a), TextHash()(b)) << a << ' ' << b;
  }
}

// With a known factor, these differences of eight bytes leave the low 17 bits unchanged for 6 to 12
// % of all texts, whatever the seed.
TEST(TextHash, HasNoDifferenceThatOftenKeepsTheLowBits) {
  constexpr std::uint64_t kDifferences[] = {0x0080040400400000, 0x0008020088000000,
                                            0x0042020008000000, 0x0010808002000000,
                                            0x0021010004000000, 0x0040020200200000};
  const auto lowBits = [](std::uint64_t word) {
    return TextHash()({reinterpret_cast<const char*>(&word), sizeof word}) & 0x1FFFF;
  };
  std::size_t collidingDifferences = 0;  // chance produces one, once in thousands of processes
  for (const std::uint64_t difference : kDifferences) {
    std::size_t collisions = 0;
    for (std::uint64_t i = 0; i < 1'000; ++i) {
      const std::uint64_t word = i * 0x9E3779B97F4A7C15;
      if (lowBits(word) == lowBits(word ^ difference)) ++collisions;
    }
    if (collisions > 20) ++collidingDifferences;
  }
  EXPECT_LE(collidingDifferences, 1U);
}

TEST(TextHash, DrawsNewSecretsEachTime) {
  const HashSecrets first = drawHashSecrets();
  const HashSecrets second = drawHashSecrets();
  EXPECT_NE(first.start, second.start);
  EXPECT_NE(first.factor, second.factor);
  EXPECT_EQ(first.factor % 2, 1U);
}

TEST(NameIndex, ComparesOneNamePerLookUpHoweverManyThereAre) {
  for (const std::uint32_t count : {10U, 1'000U, 30'000U}) {
    std::vector<std::string> names;
    NameIndex index;
    std::size_t compared = 0;
    const auto nameAt = [&](std::uint32_t position) {
      ++compared;
      return std::string_view(names[position]);
    };
    for (std::uint32_t i = 0; i < count; ++i) {
      names.push_back("name-" + std::to_string(i));
      EXPECT_EQ(index.put(names[i], i, nameAt), NameIndex::kNone);
    }
    compared = 0;
    for (std::uint32_t i = 0; i < count; ++i) ASSERT_EQ(index.find(names[i], nameAt), i);
    EXPECT_LE(compared, count + 10) << "except for equal hashes";
    compared = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
      ASSERT_EQ(index.find("none-" + std::to_string(i), nameAt), NameIndex::kNone);
    }
    EXPECT_LE(compared, 10U);
    EXPECT_EQ(index.put(names[3], 5, nameAt), 3U);
    EXPECT_EQ(index.find("name-3", [](auto) { return "name-3"; }), 5U);
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::base
