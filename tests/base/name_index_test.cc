#include "base/name_index.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvo::base {
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
    EXPECT_LE(compared, count + 10) << "but for equal hashes";
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
}  // namespace corvo::base
