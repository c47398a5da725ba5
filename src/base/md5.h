// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace corvo::corvo_internal::base {

/// The 16 bytes of an MD5 digest, in digest order.
using Md5Digest = std::array<std::uint8_t, 16>;
/// A digest as 32 lower-case hexadecimal digits.
using Md5Hex = std::array<char, 32>;

/// The MD5 digest (RFC 1321) of the concatenation of the two texts. Does not allocate.
[[nodiscard]] Md5Digest md5(std::string_view head, std::string_view tail = {}) noexcept;

/// Two texts that are hashed as one, concatenated without a separator.
struct Md5Message {
  std::string_view head;
  std::string_view tail;
};

/// The digests of several messages. If all messages have the same number of blocks, GCC and Clang
/// compute them side by side, in half the time.
constexpr std::size_t kMd5Lanes = 4;
[[nodiscard]] std::array<Md5Digest, kMd5Lanes> md5OfEach(
    const std::array<Md5Message, kMd5Lanes>& messages) noexcept;

[[nodiscard]] Md5Hex md5Hex(std::string_view text) noexcept;
[[nodiscard]] Md5Hex hexDigits(const Md5Digest& digest) noexcept;

[[nodiscard]] inline std::string_view view(const Md5Hex& hex) noexcept {
  return {hex.data(), hex.size()};
}

}  // namespace corvo::corvo_internal::base
