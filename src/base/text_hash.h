#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace corvo::base {

/// Another number in every process, so that nobody can choose texts that hash alike. Made on first
/// use, for objects of static duration may ask, too.
inline std::uint64_t hashSeed() noexcept {
  static const std::uint64_t seed = [] {
    const auto moment = std::chrono::steady_clock::now().time_since_epoch().count();
    static const char place = 0;
    return static_cast<std::uint64_t>(moment) ^
           std::uint64_t{reinterpret_cast<std::uintptr_t>(&place)} << 20;
  }();
  return seed;
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
struct TextHash {
  using is_transparent = void;

  [[nodiscard]] std::size_t operator()(std::string_view text) const noexcept {
    std::uint64_t hash = hashSeed() ^ text.size();
    const char* at = text.data();
    std::size_t left = text.size();
    for (; left > sizeof(std::uint64_t); at += 8, left -= 8) {
      hash = mixed(hash ^ load<std::uint64_t>(at));
    }
    return static_cast<std::size_t>(mixed(hash ^ last(text, at, left)));
  }

 private:
  template <class Integer>
  static std::uint64_t load(const char* bytes) noexcept {
    Integer value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
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

}  // namespace corvo::base
