// SPDX-License-Identifier: Apache-2.0

#include "base/text.h"

#include <utf8proc.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace corvo::corvo_internal::base {
namespace {

using CodePoint = utf8proc_int32_t;

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";

bool isAscii(char byte) noexcept { return static_cast<unsigned char>(byte) < 0x80; }

std::size_t asciiPrefix(std::string_view text) noexcept {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  const auto word = [&](std::size_t at) { return loadWord<std::uint64_t>(text.data() + at); };
  std::size_t at = 0;
  while (text.size() - at >= kWord && (word(at) & 0x8080808080808080) == 0) at += kWord;
  while (at < text.size() && isAscii(text[at])) ++at;
  return at;
}

// The rest of the text from its first ill-formed sequence on.
std::string_view illFormedRest(std::string_view text) noexcept {
  do {
    text.remove_prefix(asciiPrefix(text));
  } while (!text.empty() && takeCharacter(text));
  return text;
}

// The length of the ill-formed sequence that becomes one U+FFFD: the longest prefix that could
// begin a character. From the second byte on, a prefix that can be completed at all can be
// completed by 0x80.
std::size_t maximalSubpart(std::string_view illFormed) noexcept {
  constexpr std::size_t kLongest = 3;
  for (std::size_t kept = std::min(kLongest, illFormed.size()); kept > 1; --kept) {
    std::array<char, kLongest + 1> completed{'\x80', '\x80', '\x80', '\x80'};
    std::copy_n(illFormed.begin(), kept, completed.begin());
    std::string_view rest(completed.data(), completed.size());
    if (takeCharacter(rest)) return kept;
  }
  return 1;
}

std::string repaired(std::string_view text) {
  std::string repaired;
  while (!text.empty()) {
    const std::string_view rest = illFormedRest(text);
    repaired.append(text.substr(0, text.size() - rest.size()));
    text = rest;
    if (text.empty()) break;
    repaired += kReplacementCharacter;
    text.remove_prefix(maximalSubpart(text));
  }
  return repaired;
}

auto combiningClass(CodePoint character) noexcept {
  return utf8proc_get_property(character)->combining_class;
}

// Sorts combining marks into canonical order. utf8proc's own sort takes quadratic time for long
// runs of marks.
void orderMarks(std::vector<CodePoint>& text) {
  const auto isMark = [](CodePoint character) { return combiningClass(character) != 0; };
  const auto before = [](CodePoint a, CodePoint b) {
    return combiningClass(a) < combiningClass(b);
  };
  for (auto first = text.begin(); first != text.end();) {
    first = std::find_if(first, text.end(), isMark);
    const auto last = std::find_if_not(first, text.end(), isMark);
    if (!std::is_sorted(first, last, before)) std::stable_sort(first, last, before);
    first = last;
  }
}

void appendDecomposition(CodePoint character, std::vector<CodePoint>& to) {
  std::array<CodePoint, 8> parts{};  // no Unicode character decomposes into more than four
  int boundary = 0;
  const auto count =
      utf8proc_decompose_char(character, parts.data(), parts.size(), UTF8PROC_DECOMPOSE, &boundary);
  const auto kept = std::clamp<utf8proc_ssize_t>(count, 0, parts.size());
  to.insert(to.end(), parts.begin(), parts.begin() + kept);
}

std::string encoded(const std::vector<CodePoint>& text) {
  std::string bytes;
  for (const CodePoint character : text) {
    std::array<utf8proc_uint8_t, 4> units{};
    const auto count = utf8proc_encode_char(character, units.data());
    bytes.append(units.begin(), units.begin() + count);
  }
  return bytes;
}

// For each prefix of `part`, the length of its longest proper prefix that is also its suffix.
std::vector<std::size_t> borders(std::string_view part) {
  std::vector<std::size_t> border(part.size() + 1);
  for (std::size_t i = 1, length = 0; i < part.size(); ++i) {
    while (length > 0 && part[i] != part[length]) length = border[length];
    if (part[i] == part[length]) ++length;
    border[i + 1] = length;
  }
  return border;
}

// Knuth, Morris and Pratt (1977): the time is linear in the sum of the sizes for all texts.
bool containsLong(std::string_view whole, std::string_view part) {
  const std::vector<std::size_t> border = borders(part);
  std::size_t matched = 0;
  for (const char byte : whole) {
    while (matched > 0 && part[matched] != byte) matched = border[matched];
    if (part[matched] == byte) ++matched;
    if (matched == part.size()) return true;
  }
  return false;
}

}  // namespace

bool isWellFormedBeyondAscii(std::string_view text) noexcept { return illFormedRest(text).empty(); }

void WellFormed::repair() { repaired_ = repaired(text_); }

std::optional<bool> plainlyEqual(std::string_view a, std::string_view b) {
  if (a == b) return true;
  const auto [inA, inB] = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  // ASCII neither decomposes nor is reordered. If both texts continue with ASCII or end here, they
  // are different.
  const bool plainA = inA == a.end() || isAscii(*inA);
  const bool plainB = inB == b.end() || isAscii(*inB);
  if (plainA && plainB) return false;
  return std::nullopt;
}

std::optional<std::string> decomposed(std::string_view text) {
  if (isAscii(text)) return std::nullopt;
  std::vector<CodePoint> characters;
  characters.reserve(text.size());
  for (std::string_view rest = text; const auto character = takeCharacter(rest);) {
    appendDecomposition(*character, characters);
  }
  orderMarks(characters);
  std::string result = encoded(characters);
  if (result == text) return std::nullopt;
  return result;
}

std::optional<std::int32_t> takeCharacter(std::string_view& text) noexcept {
  CodePoint character = 0;
  const auto length = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(text.data()),
                                       static_cast<utf8proc_ssize_t>(text.size()), &character);
  if (length <= 0) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(length));
  return character;
}

std::string_view beginning(std::string_view text, std::size_t most) noexcept {
  if (text.size() <= most) return text;
  while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0U) == 0x80U) --most;
  return text.substr(0, most);
}

std::string shortened(std::string_view text, std::size_t most) {
  const std::string_view begin = beginning(text, most);
  return std::string(begin) + (begin.size() < text.size() ? "\u2026" : "");
}

bool contains(std::string_view whole, std::string_view part) {
  constexpr std::size_t kShort = 64;  // for parts this short, the plain search is fast on any text
  if (part.size() <= kShort) return whole.find(part) != std::string_view::npos;
  return part.size() <= whole.size() && containsLong(whole, part);
}

std::optional<std::string> wellFormedIfAny(const std::optional<std::string>& text) {
  return text ? std::optional(wellFormed(std::string_view(*text))) : std::nullopt;
}

std::string wellFormed(std::string_view text) {
  return std::string(std::string_view(WellFormed(text)));
}

}  // namespace corvo::corvo_internal::base
