// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/text.h"

namespace corvo::corvo_internal::base {

/// Two random numbers per process. Nobody outside can guess them, so nobody can choose texts that
/// collide. The factor is odd.
struct HashSecrets {
  std::uint64_t start;
  std::uint64_t factor;
};
[[nodiscard]] HashSecrets drawHashSecrets() noexcept;

/// Created on first use, because objects with static storage duration may hash, too.
inline const HashSecrets& hashSecrets() noexcept {
  static const HashSecrets secrets = drawHashSecrets();
  return secrets;
}

/// The lower half of the 128-bit product, combined with the upper half by exclusive or.
constexpr std::uint64_t foldedProduct(std::uint64_t a, std::uint64_t b) noexcept {
#ifdef __SIZEOF_INT128__
  const auto product = static_cast<unsigned __int128>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#else
  constexpr std::uint64_t kLow = 0xFFFF'FFFF;
  const std::uint64_t lowest = (a & kLow) * (b & kLow);
  const std::uint64_t middle = (a >> 32) * (b & kLow) + (lowest >> 32);
  const std::uint64_t otherMiddle = (a & kLow) * (b >> 32) + (middle & kLow);
  return (a * b) ^ ((a >> 32) * (b >> 32) + (middle >> 32) + (otherMiddle >> 32));
#endif
}

/// A fast hash of short texts, for tables that are searched by `string_view`. Differs from run to
/// run. All bits are usable, including the low ones.
struct TextHash {
  using is_transparent = void;

  [[nodiscard]] std::size_t operator()(std::string_view text) const noexcept {
    const HashSecrets& secrets = hashSecrets();
    std::uint64_t hash = secrets.start;
    const char* at = text.data();
    std::size_t left = text.size();
    for (; left > sizeof(std::uint64_t); at += 8, left -= 8) {
      hash = mixed(hash ^ load<std::uint64_t>(at));
    }
    // Without the factor, an attacker could choose texts whose hashes often share their low bits,
    // whatever the seed. The size distinguishes texts that end in the same word, such as "abb" and
    // "ab". It is added separately: combined with the words directly, other words could cancel it.
    hash = (hash ^ last(text, at, left)) * secrets.factor + text.size();
    return static_cast<std::size_t>(mixed(hash));
  }

 private:
  template <class Integer>
  static std::uint64_t load(const char* bytes) noexcept {
    return loadWord<Integer>(bytes);
  }

  // The last bytes, eight at most, in one or two pieces that may overlap each other and, in a long
  // text, the bytes before them. This avoids a loop over single bytes.
  static std::uint64_t last(std::string_view text, const char* at, std::size_t left) noexcept {
    if (text.size() >= 8) return load<std::uint64_t>(at + left - 8);
    if (left >= 4) {
      return load<std::uint32_t>(at) | load<std::uint32_t>(at + left - 4) << 32;
    }
    if (left == 0) return 0;
    return load<std::uint8_t>(at) | load<std::uint8_t>(at + left / 2) << 8 |
           load<std::uint8_t>(at + left - 1) << 16;
  }

  // Both halves of the product with 2^64 divided by the golden ratio, combined.
  static std::uint64_t mixed(std::uint64_t word) noexcept {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
    return foldedProduct(word, kMultiplier);
  }
};

}  // namespace corvo::corvo_internal::base
