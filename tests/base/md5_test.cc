// SPDX-License-Identifier: Apache-2.0

#include "base/md5.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "tests/base/case_table.h"

namespace corvo::corvo_internal::base {
namespace {

/// A text with many different bytes.
std::string sample(std::size_t length) {
  std::string text;
  for (std::size_t i = 0; i < length; ++i) text += static_cast<char>(i * 37 + 11);
  return text;
}

TEST(Md5, AgreesWithTheTable) {
  for (const auto& [length, text, digest] : tests::caseTable<3>(CORVO_BASE_CASES "md5.txt")) {
    EXPECT_EQ(view(md5Hex(length.empty() ? text : sample(std::stoul(length)))), digest)
        << length << text;
  }
}

TEST(Md5, JoinsHeadAndTailWhereverTheyMeet) {
  const std::string text = sample(130);
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    const std::string_view joined = text;
    EXPECT_EQ(md5(joined.substr(0, cut), joined.substr(cut)), md5(text)) << cut;
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::base
