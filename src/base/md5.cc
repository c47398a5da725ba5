#include "base/md5.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace corvo::base {
namespace {

constexpr std::size_t kBlockSize = 64;
constexpr std::size_t kLengthSize = 8;

using Words = std::array<std::uint32_t, kBlockSize / 4>;

// The names of RFC 1321, section 3.4: T holds 2^32 |sin i| in whole numbers, i from 1 to 64.
constexpr std::array<std::uint32_t, 64> kT{
    0xd76aa478, 0xe8c7b756, 0x242070db, 0xc1bdceee, 0xf57c0faf, 0x4787c62a, 0xa8304613, 0xfd469501,
    0x698098d8, 0x8b44f7af, 0xffff5bb1, 0x895cd7be, 0x6b901122, 0xfd987193, 0xa679438e, 0x49b40821,
    0xf61e2562, 0xc040b340, 0x265e5a51, 0xe9b6c7aa, 0xd62f105d, 0x02441453, 0xd8a1e681, 0xe7d3fbc8,
    0x21e1cde6, 0xc33707d6, 0xf4d50d87, 0x455a14ed, 0xa9e3e905, 0xfcefa3f8, 0x676f02d9, 0x8d2a4c8a,
    0xfffa3942, 0x8771f681, 0x6d9d6122, 0xfde5380c, 0xa4beea44, 0x4bdecfa9, 0xf6bb4b60, 0xbebfbc70,
    0x289b7ec6, 0xeaa127fa, 0xd4ef3085, 0x04881d05, 0xd9d4d039, 0xe6db99e5, 0x1fa27cf8, 0xc4ac5665,
    0xf4292244, 0x432aff97, 0xab9423a7, 0xfc93a039, 0x655b59c3, 0x8f0ccc92, 0xffeff47d, 0x85845dd1,
    0x6fa87e4f, 0xfe2ce6e0, 0xa3014314, 0x4e0811a1, 0xf7537e82, 0xbd3af235, 0x2ad7d2bb, 0xeb86d391,
};
constexpr std::array<std::array<int, 4>, 4> kTurns{
    {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};
constexpr std::array<std::size_t, 4> kFirstWord{0, 1, 5, 0};
constexpr std::array<std::size_t, 4> kWordStride{1, 5, 3, 7};

// The four words A to D.
using State = std::array<std::uint32_t, 4>;
constexpr State kStart{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};

// What a step adds up before it turns. Every step waits for the b of the one before, so b comes in
// as late as it can: the two halves of the second round share no bit and are added one by one.
template <std::size_t round>
std::uint32_t sum(std::uint32_t ready, std::uint32_t b, std::uint32_t c, std::uint32_t d) noexcept {
  if constexpr (round == 0) return ready + (((c ^ d) & b) ^ d);
  if constexpr (round == 1) return ready + (~d & c) + (d & b);
  if constexpr (round == 2) return ready + (b ^ (c ^ d));
  if constexpr (round == 3) return ready + (c ^ (b | ~d));
}

template <std::size_t step>
void advance(State& s, const Words& words) noexcept {
  constexpr std::size_t round = step / 16;
  constexpr std::size_t word = (kFirstWord[round] + kWordStride[round] * step) % 16;
  // After each step the words change places; here their names do.
  constexpr std::size_t a = (64 - step) % 4;
  const std::uint32_t b = s[(a + 1) % 4];
  const std::uint32_t turning =
      sum<round>(s[a] + kT[step] + words[word], b, s[(a + 2) % 4], s[(a + 3) % 4]);
  s[a] = b + std::rotl(turning, kTurns[round][step % 4]);
}

template <std::size_t... steps>
State advanced(State s, const Words& words, std::index_sequence<steps...>) noexcept {
  (advance<steps>(s, words), ...);
  return s;
}

std::uint32_t load(const std::uint8_t* bytes) noexcept {
  return bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8 |
         static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

template <class Integer>
void store(Integer value, std::uint8_t* bytes) noexcept {
  for (std::size_t i = 0; i < sizeof value; ++i) {
    bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
  }
}

class Hasher {
 public:
  void absorb(std::string_view text) noexcept {
    length_ += text.size();
    while (!text.empty()) {
      const std::size_t taken = std::min(text.size(), kBlockSize - used_);
      std::memcpy(block_.data() + used_, text.data(), taken);
      text.remove_prefix(taken);
      used_ += taken;
      if (used_ == kBlockSize) compress();
    }
  }

  Md5Digest finish() noexcept {
    block_[used_] = 0x80;
    if (used_ >= kBlockSize - kLengthSize) compress();
    store(length_ * 8, block_.data() + kBlockSize - kLengthSize);
    compress();

    Md5Digest digest;
    for (std::size_t i = 0; i < state_.size(); ++i) store(state_[i], digest.data() + 4 * i);
    return digest;
  }

 private:
  void compress() noexcept {
    Words words;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = load(block_.data() + 4 * i);
    const State sums = advanced(state_, words, std::make_index_sequence<kT.size()>{});
    for (std::size_t i = 0; i < sums.size(); ++i) state_[i] += sums[i];
    block_ = {};
    used_ = 0;
  }

  State state_ = kStart;
  std::uint64_t length_ = 0;
  std::size_t used_ = 0;  // below kBlockSize between calls, and zeros follow
  std::array<std::uint8_t, kBlockSize> block_{};
};

}  // namespace

Md5Digest md5(std::string_view head, std::string_view tail) noexcept {
  Hasher hasher;
  hasher.absorb(head);
  hasher.absorb(tail);
  return hasher.finish();
}

Md5Hex hexDigits(const Md5Digest& digest) noexcept {
  // Reckoned, not looked up: so compilers make many digits at once.
  const auto digit = [](int nibble) {
    return static_cast<char>(nibble + (nibble > 9 ? 'a' - 10 : '0'));
  };
  Md5Hex hex;
  for (std::size_t i = 0; i < digest.size(); ++i) {
    hex[2 * i] = digit(digest[i] >> 4);
    hex[2 * i + 1] = digit(digest[i] & 15);
  }
  return hex;
}

Md5Hex md5Hex(std::string_view text) noexcept { return hexDigits(md5(text)); }

}  // namespace corvo::base
