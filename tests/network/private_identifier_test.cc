// SPDX-License-Identifier: Apache-2.0

#include "network/private_identifier.h"

#include <corvo/fakes.h>
#include <gtest/gtest.h>

#include <stdexcept>

namespace corvo::corvo_internal::network {
namespace {

TEST(PrivateIdentifierTest, UsesEachUsableByteOnceInOrder) {
  // 0, 1, ... 255, 0, ...: without the eight bytes from 248 on, every character four times.
  fakes::ScriptedRandom counting;
  std::string drawn;
  std::string expected;
  for (int i = 0; i < 31; ++i) drawn += makePrivateIdentifier(counting);
  for (int i = 0; i < 40; ++i) {
    expected += "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  }
  EXPECT_EQ(drawn, expected);
  EXPECT_EQ(makePrivateIdentifier(counting).size(), 80U);
}

TEST(PrivateIdentifierTest, ThrowsWhenTheSourceFailsOrIsStuck) {
  fakes::ScriptedRandom failing(std::vector<std::byte>{});
  fakes::ScriptedRandom stuck(std::vector{std::byte{0xFF}});
  for (auto* source : {&failing, &stuck}) {
    EXPECT_THROW((void)makePrivateIdentifier(*source), std::runtime_error);
  }
}

}  // namespace
}  // namespace corvo::corvo_internal::network
