#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/text.h"

namespace corvo::corvo_internal::base {

/// Two numbers that differ in every process and that nobody outside can guess, so that nobody can
/// choose texts that hash alike. The factor is odd.
struct HashSecrets {
  std::uint64_t start;
  std::uint64_t factor;
};
[[nodiscard]] HashSecrets drawHashSecrets() noexcept;

/// Made on first use, for objects of static duration may ask, too.
inline const HashSecrets& hashSecrets() noexcept {
  static const HashSecrets secrets = drawHashSecrets();
  return secrets;
}

/// The lower half of the product of 128 bits, with the upper one folded in by exclusive or.
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

/// A fast hash of short texts, for tables that are asked by `string_view`. Differs from run to run.
/// Any bits of it will do for a table, the low ones too.
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
    // Without the factor, texts could be chosen whose hashes often have the same low bits whatever
    // the start. The size sets apart what ends in the same word, as "abb" and "ab"; were it joined
    // with the words directly, other words could make up for it.
    hash = (hash ^ last(text, at, left)) * secrets.factor + text.size();
    return static_cast<std::size_t>(mixed(hash));
  }

 private:
  template <class Integer>
  static std::uint64_t load(const char* bytes) noexcept {
    return loadWord<Integer>(bytes);
  }

  // The last bytes, at most eight, in one or two pieces that may overlap, and, in a long text, with
  // some of those before them: so no loop over single bytes is needed.
  static std::uint64_t last(std::string_view text, const char* at, std::size_t left) noexcept {
    if (text.size() >= 8) return load<std::uint64_t>(at + left - 8);
    if (left >= 4) {
      return load<std::uint32_t>(at) | load<std::uint32_t>(at + left - 4) << 32;
    }
    if (left == 0) return 0;
    return load<std::uint8_t>(at) | load<std::uint8_t>(at + left / 2) << 8 |
           load<std::uint8_t>(at + left - 1) << 16;
  }

  // Both halves of the product with 2^64 over the golden ratio, folded together.
  static std::uint64_t mixed(std::uint64_t word) noexcept {
    constexpr std::uint64_t kMultiplier = 0x9E3779B97F4A7C15;
    return foldedProduct(word, kMultiplier);
  }
};

}  // namespace corvo::corvo_internal::base
