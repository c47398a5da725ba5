#include "base/md5.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace corvo::base {
namespace {

std::string hexOf(std::string_view head, std::string_view tail = {}) {
  return std::string(view(hexDigits(md5(head, tail))));
}

// RFC 1321 as its text tells it: the whole padded message in memory, the table from the sine.
std::string byTheBook(const std::string& text) {
  std::string message = text + '\x80';
  while (message.size() % 64 != 56) message += '\0';
  for (int i = 0; i < 8; ++i) message += static_cast<char>(text.size() * 8 >> 8 * i);

  const int turns[] = {7, 12, 17, 22, 5, 9, 14, 20, 4, 11, 16, 23, 6, 10, 15, 21};
  std::uint32_t sums[] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  for (std::size_t block = 0; block < message.size(); block += 64) {
    auto [a, b, c, d] = sums;
    for (unsigned i = 0; i < 64; ++i) {
      const unsigned round = i / 16;
      const std::uint32_t mixed[] = {(b & c) | (~b & d), (b & d) | (c & ~d), b ^ c ^ d,
                                     c ^ (b | ~d)};
      const unsigned words[] = {i, 5 * i + 1, 3 * i + 5, 7 * i};
      std::uint32_t sum = a + mixed[round];
      sum += static_cast<std::uint32_t>(std::floor(std::fabs(std::sin(i + 1.0)) * 4294967296.0));
      for (unsigned byte = 0; byte < 4; ++byte) {
        const auto at = static_cast<unsigned char>(message[block + words[round] % 16 * 4 + byte]);
        sum += static_cast<std::uint32_t>(at) << 8 * byte;
      }
      const int turn = turns[round * 4 + i % 4];
      a = std::exchange(d,
                        std::exchange(c, std::exchange(b, b + (sum << turn | sum >> (32 - turn)))));
    }
    sums[0] += a, sums[1] += b, sums[2] += c, sums[3] += d;
  }

  std::string hex;
  for (const std::uint32_t sum : sums) {
    for (int nibble : {4, 0, 12, 8, 20, 16, 28, 24}) hex += "0123456789abcdef"[sum >> nibble & 15];
  }
  return hex;
}

std::string sample(std::size_t length) {
  std::string text;
  for (std::size_t i = 0; i < length; ++i) text += static_cast<char>(i * 37 + 11);
  return text;
}

TEST(Md5, PassesTheTestSuiteOfTheRfc) {
  const std::vector<std::pair<std::string, std::string>> suite{
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "d174ab98d277d9f5a5611c2c9f419d9f"},
      {"12345678901234567890123456789012345678901234567890123456789012345678901234567890",
       "57edf4a22be3c955ac49da2e2107b67a"}};
  for (const auto& [text, digest] : suite) {
    EXPECT_EQ(view(md5Hex(text)), digest) << text;
    EXPECT_EQ(byTheBook(text), digest) << text;
  }
}

TEST(Md5, AgreesWithTheBookAroundTheBlocks) {
  for (std::size_t length = 0; length <= 130; ++length) {
    EXPECT_EQ(hexOf(sample(length)), byTheBook(sample(length))) << length;
  }
  EXPECT_EQ(hexOf(sample(100'000)), byTheBook(sample(100'000)));
}

TEST(Md5, MakesSeveralDigestsSideBySideOrNot) {
  for (const std::array<std::size_t, kMd5Lanes>& lengths :
       {std::array<std::size_t, kMd5Lanes>{0, 1, 36, 55},
        {56, 64, 100, 119},
        {20, 20, 20, 120},
        {56, 55, 55, 55},
        {120, 150, 183, 130}}) {
    std::array<std::string, kMd5Lanes> texts;
    std::array<Md5Message, kMd5Lanes> messages;
    for (std::size_t lane = 0; lane < kMd5Lanes; ++lane) {
      const std::string_view text = texts[lane] = sample(lengths[lane] + lane).substr(lane);
      messages[lane] = {text.substr(0, 9 * lane), text.substr(std::min(9 * lane, text.size()))};
    }
    const auto digests = md5OfEach(messages);
    for (std::size_t lane = 0; lane < kMd5Lanes; ++lane) {
      EXPECT_EQ(view(hexDigits(digests[lane])), byTheBook(texts[lane])) << lengths[lane];
    }
  }
}

TEST(Md5, JoinsHeadAndTailWhereverTheyMeet) {
  const std::string text = sample(130);
  const std::string whole = byTheBook(text);
  for (std::size_t cut = 0; cut <= text.size(); ++cut) {
    const std::string_view joined = text;
    EXPECT_EQ(hexOf(joined.substr(0, cut), joined.substr(cut)), whole) << cut;
  }
}

}  // namespace
}  // namespace corvo::base
