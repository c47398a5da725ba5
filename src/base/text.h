// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::base {

/// The bytes at this address as a number in native byte order.
template <class Word>
[[nodiscard]] Word loadWord(const char* bytes) noexcept {
  Word word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

/// Whether a text of at least one word is all ASCII. The last word may overlap the one before.
template <class Word>
[[nodiscard]] bool isAsciiByWords(std::string_view text) noexcept {
  const auto isAsciiAt = [&](std::size_t at) {
    return (loadWord<Word>(text.data() + at) & static_cast<Word>(0x8080808080808080)) == 0;
  };
  const std::size_t last = text.size() - sizeof(Word);
  for (std::size_t at = 0; at < last; at += sizeof(Word)) {
    if (!isAsciiAt(at)) return false;
  }
  return isAsciiAt(last);
}

[[nodiscard]] inline bool isAscii(std::string_view text) noexcept {
  if (text.size() >= 8) return isAsciiByWords<std::uint64_t>(text);
  if (text.size() >= 4) return isAsciiByWords<std::uint32_t>(text);
  if (text.size() >= 2) return isAsciiByWords<std::uint16_t>(text);
  return text.empty() || isAsciiByWords<std::uint8_t>(text);
}

/// Whether two texts have the same bytes. Most names and values have 4 to 16 bytes. These are
/// compared without a call: their first and their last bytes, which may overlap.
[[nodiscard]] inline bool sameBytes(std::string_view a, std::string_view b) noexcept {
  if (a.size() != b.size()) return false;
  const auto sameEnds = [&]<class Word>(Word) {
    const std::size_t last = a.size() - sizeof(Word);
    return loadWord<Word>(a.data()) == loadWord<Word>(b.data()) &&
           loadWord<Word>(a.data() + last) == loadWord<Word>(b.data() + last);
  };
  if (a.size() - 8 <= 8) return sameEnds(std::uint64_t());
  if (a.size() - 4 <= 4) return sameEnds(std::uint32_t());
  return a == b;
}

[[nodiscard]] bool isWellFormedBeyondAscii(std::string_view text) noexcept;
/// Whether the bytes are well-formed UTF-8 (Unicode 15, table 3-7). ASCII, the common case, is
/// detected quickly.
[[nodiscard]] inline bool isWellFormed(std::string_view text) noexcept {
  return isAscii(text) || isWellFormedBeyondAscii(text);
}

/// A text with each maximal ill-formed sequence replaced by U+FFFD (Unicode 15, section 3.9,
/// "substitution of maximal subparts"). A well-formed text is not copied.
class WellFormed {
 public:
  explicit WellFormed(std::string_view text) : text_(text) {
    if (!isWellFormed(text)) repair();
  }
  WellFormed(const WellFormed&) = delete;
  WellFormed& operator=(const WellFormed&) = delete;

  /// Valid as long as this object and the text it was created from.
  operator std::string_view() const noexcept { return repaired_ ? *repaired_ : text_; }

 private:
  void repair();

  std::string_view text_;
  std::optional<std::string> repaired_;
};

/// A copy of the text, with ill-formed sequences replaced.
[[nodiscard]] std::string wellFormed(std::string_view text);
[[nodiscard]] std::optional<std::string> wellFormedIfAny(const std::optional<std::string>& text);

/// Removes the first character from a text and returns its code point. Empty at the end of the text
/// and at an ill-formed sequence.
[[nodiscard]] std::optional<std::int32_t> takeCharacter(std::string_view& text) noexcept;

/// The beginning of a text, at most so many bytes, without a part of a character.
[[nodiscard]] std::string_view beginning(std::string_view text, std::size_t most) noexcept;
/// The same, with "…" behind it if something is left out.
[[nodiscard]] std::string shortened(std::string_view text, std::size_t most);

/// Whether `whole` contains the bytes of `part`. The time grows with the sum of the sizes, not with
/// their product.
[[nodiscard]] bool contains(std::string_view whole, std::string_view part);

/// The canonical decomposition (Unicode TR15: NFD) of a well-formed text, at most three times as
/// long. Empty if it equals the text itself, as for all ASCII. Two texts are canonically equivalent
/// if their decompositions are equal.
[[nodiscard]] std::optional<std::string> decomposed(std::string_view text);

/// Whether two well-formed texts are canonically equivalent. Empty if the bytes do not decide and
/// the decompositions must be compared.
[[nodiscard]] std::optional<bool> plainlyEqual(std::string_view a, std::string_view b);

/// Whether the lower-cased text equals `lowerCase`, which consists of lower-case ASCII letters. For
/// the words the library compares with, ASCII lower-casing equals full Unicode lower-casing: no
/// other character has one of their letters as its lower case.
template <std::size_t size>
[[nodiscard]] bool equalsLowerCased(std::string_view text, const char (&lowerCase)[size]) noexcept {
  constexpr char kCaseBit = 0x20;  // setting it turns nothing but letters into lower-case letters
  if (text.size() != size - 1) return false;
  std::array<char, size - 1> lowered;
  std::memcpy(lowered.data(), text.data(), lowered.size());
  for (char& letter : lowered) letter |= kCaseBit;
  return std::memcmp(lowered.data(), lowerCase, lowered.size()) == 0;
}

}  // namespace corvo::corvo_internal::base
