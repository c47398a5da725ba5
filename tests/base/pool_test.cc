// SPDX-License-Identifier: Apache-2.0

#include "base/pool.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace corvo::corvo_internal::base {
namespace {

TEST(Pool, KeepsEverythingWhereItIs) {
  struct Pair {
    double number;
    Text text;
  };
  Pool pool;
  std::vector<List<Pair>> lists;
  std::vector<Text> texts;
  for (std::size_t i = 0; i < 3'000; ++i) {
    const std::size_t size = i % 500 == 499 ? 100 * i : i % 50;
    texts.push_back(pool.text(std::string(size, static_cast<char>('a' + i % 26))));
    lists.push_back(pool.list(std::vector<Pair>(i % 7, {static_cast<double>(i), texts.back()})));
  }
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const std::size_t size = i % 500 == 499 ? 100 * i : i % 50;
    ASSERT_EQ(texts[i], std::string(size, static_cast<char>('a' + i % 26))) << i;
    ASSERT_EQ(lists[i].size(), i % 7);
    ASSERT_EQ(reinterpret_cast<std::uintptr_t>(lists[i].data()) % alignof(Pair), 0U);
    for (const Pair& pair : lists[i]) {
      ASSERT_EQ(pair.number, static_cast<double>(i));
      ASSERT_EQ(pair.text.view().data(), texts[i].view().data());
    }
  }
}

TEST(Pool, DistinguishesTextsAndListsByContent) {
  Pool pool;
  const std::string nul("a\0b", 3);
  EXPECT_EQ(pool.text(nul), pool.text(nul));
  EXPECT_FALSE(pool.text(nul) == pool.text("a"));
  EXPECT_EQ(pool.text(""), Text());
  const auto listOf = [&](const std::vector<int>& numbers) { return pool.list(numbers); };
  EXPECT_TRUE(listOf({1, 2}) == listOf({1, 2}));
  EXPECT_FALSE(listOf({1, 2}) == listOf({1}));
  EXPECT_FALSE(listOf({1, 2}) == listOf({1, 3}));
  EXPECT_TRUE(listOf({}) == List<int>());
}

}  // namespace
}  // namespace corvo::corvo_internal::base
