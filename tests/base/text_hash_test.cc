#include "base/text_hash.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

namespace corvo::base {
namespace {

TEST(TextHash, TellsApartWhatEndsInTheSameBytesWhateverTheSecrets) {
  // Read in words, these pairs differ by their sizes alone, or by what could make up for those.
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

// With a known factor these differences of eight bytes leave the low 17 bits alone for 6 to 12 % of
// all texts, whatever the start.
TEST(TextHash, HasNoDifferenceThatOftenKeepsTheLowBits) {
  constexpr std::uint64_t kDifferences[] = {0x0080040400400000, 0x0008020088000000,
                                            0x0042020008000000, 0x0010808002000000,
                                            0x0021010004000000, 0x0040020200200000};
  const auto lowBits = [](std::uint64_t word) {
    return TextHash()({reinterpret_cast<const char*>(&word), sizeof word}) & 0x1FFFF;
  };
  std::size_t collidingDifferences = 0;  // one may do so by chance, once in thousands of processes
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

TEST(TextHash, DrawsItsSecretsAnew) {
  const HashSecrets first = drawHashSecrets();
  const HashSecrets second = drawHashSecrets();
  EXPECT_NE(first.start, second.start);
  EXPECT_NE(first.factor, second.factor);
  EXPECT_EQ(first.factor % 2, 1U);
}

}  // namespace
}  // namespace corvo::base
