// SPDX-License-Identifier: Apache-2.0

#include "base/md5.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

namespace corvo::corvo_internal::base {
namespace {

constexpr std::size_t kBlockSize = 64;
constexpr std::size_t kLengthSize = 8;

// Names as in RFC 1321, section 3.4: T holds the integer parts of 2^32 |sin i|, for i from 1 to 64.
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

// A word of the computation, or the same word of several computations side by side.
using Word = std::uint32_t;
#ifdef __GNUC__
using Lanes = Word __attribute__((vector_size(kMd5Lanes * sizeof(Word))));
#endif

template <class W>
using Words = std::array<W, kBlockSize / sizeof(Word)>;

// The four words A to D.
template <class W>
using State = std::array<W, 4>;

template <class W>
State<W> start() noexcept {
  constexpr State<Word> kStart{0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  return {W{} + kStart[0], W{} + kStart[1], W{} + kStart[2], W{} + kStart[3]};
}

// The sum that a step computes before it rotates. Every step waits for b from the step before, so b
// is added as late as possible. The two halves of the second round's function have no bit in
// common, so they are added one by one.
template <std::size_t round, class W>
W sum(W ready, W b, W c, W d) noexcept {
  if constexpr (round == 0) return ready + (((c ^ d) & b) ^ d);
  if constexpr (round == 1) return ready + (~d & c) + (d & b);
  if constexpr (round == 2) return ready + (b ^ (c ^ d));
  if constexpr (round == 3) return ready + (c ^ (b | ~d));
}

template <std::size_t step, class W>
void advance(State<W>& s, const Words<W>& words) noexcept {
  constexpr std::size_t round = step / 16;
  constexpr std::size_t word = (kFirstWord[round] + kWordStride[round] * step) % 16;
  constexpr int turns = kTurns[round][step % 4];
  // After each step the words rotate their roles. The code rotates the names instead.
  constexpr std::size_t a = (64 - step) % 4;
  const W b = s[(a + 1) % 4];
  const W turning = sum<round>(s[a] + kT[step] + words[word], b, s[(a + 2) % 4], s[(a + 3) % 4]);
  s[a] = b + ((turning << turns) | (turning >> (32 - turns)));
}

template <class W, std::size_t... steps>
State<W> advanced(State<W> s, const Words<W>& words, std::index_sequence<steps...>) noexcept {
  (advance<steps>(s, words), ...);
  return s;
}

template <class W>
State<W> absorbed(const State<W>& s, const Words<W>& words) noexcept {
  const State<W> t = advanced(s, words, std::make_index_sequence<kT.size()>{});
  return {s[0] + t[0], s[1] + t[1], s[2] + t[2], s[3] + t[3]};
}

std::uint32_t load(const std::uint8_t* bytes) noexcept {
  return bytes[0] | static_cast<std::uint32_t>(bytes[1]) << 8 |
         static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
}

template <class Integer>
void store(Integer value, std::uint8_t* bytes) noexcept {
  if constexpr (std::endian::native == std::endian::little) {
    std::memcpy(bytes, &value, sizeof value);
  } else {
    for (std::size_t i = 0; i < sizeof value; ++i) {
      bytes[i] = static_cast<std::uint8_t>(value >> (8 * i));
    }
  }
}

/// The two texts joined, followed by the padding bit and the length in bits, block by block.
class PaddedMessage {
 public:
  explicit PaddedMessage(const Md5Message& message) noexcept
      : head_(message.head),
        tail_(message.tail),
        length_(std::uint64_t{message.head.size()} + message.tail.size()) {}

  [[nodiscard]] std::uint64_t blockCount() const noexcept {
    return (length_ + kLengthSize) / kBlockSize + 1;
  }
  [[nodiscard]] bool isAtEnd() const noexcept { return isAtEnd_; }

  Words<Word> next() noexcept {
    Block block{};
    std::size_t used = take(head_, block, 0);
    used = take(tail_, block, used);
    if (!isMarked_ && used < kBlockSize) {
      block[used++] = kMark;
      isMarked_ = true;
    }
    isAtEnd_ = isMarked_ && used <= kBlockSize - kLengthSize;
    if (isAtEnd_) store(length_ * 8, block.data() + kBlockSize - kLengthSize);

    Words<Word> words;
    for (std::size_t i = 0; i < words.size(); ++i) words[i] = load(block.data() + 4 * i);
    return words;
  }

 private:
  using Block = std::array<std::uint8_t, kBlockSize>;

  static constexpr std::uint8_t kMark = 0x80;

  // Moves as much of the text into the block as fits. Returns the new number of used bytes.
  static std::size_t take(std::string_view& text, Block& block, std::size_t used) noexcept {
    const std::size_t taken = std::min(text.size(), kBlockSize - used);
    if (taken != 0) std::memcpy(block.data() + used, text.data(), taken);
    text.remove_prefix(taken);
    return used + taken;
  }

  std::string_view head_;
  std::string_view tail_;
  std::uint64_t length_;
  bool isMarked_ = false;
  bool isAtEnd_ = false;
};

Md5Digest digestOf(const State<Word>& state) noexcept {
  Md5Digest digest;
  for (std::size_t i = 0; i < state.size(); ++i) store(state[i], digest.data() + 4 * i);
  return digest;
}

}  // namespace

Md5Digest md5(std::string_view head, std::string_view tail) noexcept {
  PaddedMessage padded({head, tail});
  State<Word> state = start<Word>();
  while (!padded.isAtEnd()) state = absorbed(state, padded.next());
  return digestOf(state);
}

std::array<Md5Digest, kMd5Lanes> md5OfEach(
    const std::array<Md5Message, kMd5Lanes>& messages) noexcept {
#ifdef __GNUC__
  static_assert(kMd5Lanes == 4);
  std::array padded{PaddedMessage(messages[0]), PaddedMessage(messages[1]),
                    PaddedMessage(messages[2]), PaddedMessage(messages[3])};
  const auto isAsLong = [&](const PaddedMessage& other) {
    return other.blockCount() == padded[0].blockCount();
  };
  if (std::all_of(padded.begin(), padded.end(), isAsLong)) {
    State<Lanes> state = start<Lanes>();
    while (!padded[0].isAtEnd()) {
      Words<Lanes> words;
      for (std::size_t lane = 0; lane < kMd5Lanes; ++lane) {
        const Words<Word> own = padded[lane].next();
        for (std::size_t i = 0; i < own.size(); ++i) words[i][lane] = own[i];
      }
      state = absorbed(state, words);
    }
    std::array<Md5Digest, kMd5Lanes> digests;
    for (std::size_t lane = 0; lane < kMd5Lanes; ++lane) {
      digests[lane] = digestOf({state[0][lane], state[1][lane], state[2][lane], state[3][lane]});
    }
    return digests;
  }
#endif
  std::array<Md5Digest, kMd5Lanes> digests;
  std::transform(messages.begin(), messages.end(), digests.begin(),
                 [](const Md5Message& message) { return md5(message.head, message.tail); });
  return digests;
}

Md5Hex hexDigits(const Md5Digest& digest) noexcept {
  // Computed rather than looked up, so that compilers vectorise it.
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

}  // namespace corvo::corvo_internal::base
