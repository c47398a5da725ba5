// SPDX-License-Identifier: Apache-2.0

#include "c/handle_table.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace corvo::corvo_internal::c {
namespace {

/// Three slots with eight handles each.
using Table = HandleTable<int, Mark::project, false, HandleBits{.mark = 4, .index = 2, .count = 3}>;

Table::Found release(Table& table, const void* handle) {
  Table::Pointer last;
  return table.take(handle, last);
}

// One object after the other is created and freed, while others live.
TEST(HandleTableTest, AHandleBecomesValidAgainOnlyAfterAllOthers) {
  using enum Table::Found;
  for (const std::size_t living : {0U, 1U, 2U}) {
    SCOPED_TRACE(living);
    Table table;
    std::vector<void*> live;
    while (live.size() < living) live.push_back(table.add(std::make_shared<int>()));
    const std::size_t others = 8 * (3 - living) - 1;
    std::vector<void*> freed;
    for (std::size_t i = 0; i < 10 * others; ++i) {
      void* const handle = table.add(std::make_shared<int>());
      const auto count = static_cast<std::ptrdiff_t>(std::min(i, others));
      EXPECT_TRUE(std::all_of(freed.end() - count, freed.end(),
                              [&](void* old) { return release(table, old) == invalid; }));
      EXPECT_EQ(release(table, handle), valid);
      freed.push_back(handle);
    }
    for (void* const handle : live) EXPECT_EQ(release(table, handle), valid);
  }
}

TEST(HandleTableTest, AFullTableHasRoomOnceAnObjectIsFreed) {
  Table table;
  std::vector<void*> live;
  while (live.size() < 3) live.push_back(table.add(std::make_shared<int>()));
  EXPECT_THROW(table.add(std::make_shared<int>()), std::bad_alloc);
  EXPECT_EQ(release(table, live[1]), Table::Found::valid);
  EXPECT_NE(table.add(std::make_shared<int>()), nullptr);
}

}  // namespace
}  // namespace corvo::corvo_internal::c
