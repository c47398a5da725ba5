// SPDX-License-Identifier: Apache-2.0

#include "network/private_identifier.h"

#include <array>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string_view>

namespace corvo::corvo_internal::network {
namespace {

constexpr std::string_view kCharacters =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
constexpr std::size_t kLength = 80;
// Bytes from here on would favour the first characters, so they are drawn again.
constexpr std::size_t kUsableBytes = 256 / kCharacters.size() * kCharacters.size();
// One byte in 32 is drawn again. Only a broken source needs more rounds than this.
constexpr int kMostRounds = 100;

}  // namespace

std::string makePrivateIdentifier(SecureRandom& random) {
  std::string identifier;
  std::array<std::byte, kLength> bytes{};
  for (int round = 0; round < kMostRounds && identifier.size() < kLength; ++round) {
    const auto block = std::span(bytes).first(kLength - identifier.size());
    random.fill(block);
    for (const std::byte byte : block) {
      const auto value = std::to_integer<std::size_t>(byte);
      if (value < kUsableBytes) identifier += kCharacters[value % kCharacters.size()];
    }
  }
  if (identifier.size() < kLength) throw std::runtime_error("the random source is stuck");
  return identifier;
}

}  // namespace corvo::corvo_internal::network
