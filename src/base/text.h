#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::base {

/// Whether two texts consist of the same bytes: where many are compared, quicker than `==`, which
/// goes through a comparison for order.
[[nodiscard]] inline bool sameBytes(std::string_view a, std::string_view b) noexcept {
  return a.size() == b.size() && (a.empty() || std::memcmp(a.data(), b.data(), a.size()) == 0);
}

/// Whether all bytes of a text that is a word long or longer are ASCII. The last bytes are looked
/// at together with some of those before them.
template <class Word>
[[nodiscard]] bool isAsciiByWords(std::string_view text) noexcept {
  const auto isAsciiAt = [&](std::size_t at) {
    Word word = 0;
    std::memcpy(&word, text.data() + at, sizeof word);
    return (word & static_cast<Word>(0x8080808080808080)) == 0;
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

[[nodiscard]] bool isWellFormedBeyondAscii(std::string_view text) noexcept;
/// Whether the bytes are well-formed UTF-8 (Unicode 15, table 3-7). Most texts are ASCII, which is
/// quickly found.
[[nodiscard]] inline bool isWellFormed(std::string_view text) noexcept {
  return isAscii(text) || isWellFormedBeyondAscii(text);
}

/// A text made well-formed: each maximal ill-formed sequence becomes U+FFFD (Unicode 15, section
/// 3.9, "substitution of maximal subparts"). A well-formed text is only looked at, not copied.
class WellFormed {
 public:
  explicit WellFormed(std::string_view text);
  WellFormed(const WellFormed&) = delete;
  WellFormed& operator=(const WellFormed&) = delete;

  /// Valid as long as this object and the text it was made from.
  operator std::string_view() const noexcept { return mended_ ? *mended_ : text_; }

 private:
  std::string_view text_;
  std::optional<std::string> mended_;
};

/// The text itself, or mended.
[[nodiscard]] std::string wellFormed(std::string_view text);
[[nodiscard]] std::optional<std::string> wellFormedIfAny(const std::optional<std::string>& text);

/// Whether the bytes of `part` stand in `whole`; in time that grows with their sum, not product.
[[nodiscard]] bool contains(std::string_view whole, std::string_view part);

/// The canonical decomposition (Unicode TR15: NFD) of a well-formed text; none where that is the
/// text itself, as of all ASCII. At most three times as long. Two texts are canonically equivalent
/// if their decompositions are equal.
[[nodiscard]] std::optional<std::string> decomposed(std::string_view text);

/// Whether two well-formed texts are canonically equivalent; none where their bytes do not tell,
/// but only their decompositions.
[[nodiscard]] std::optional<bool> plainlyEqual(std::string_view a, std::string_view b);

/// Whether the text equals `lowerCase`, which consists of lower-case ASCII letters, once the text
/// is lower-cased. For the words that the library asks for, ASCII lower-casing is full Unicode
/// lower-casing: no other character has their letters for its lower case.
[[nodiscard]] bool equalsLowerCased(std::string_view text, std::string_view lowerCase) noexcept;

}  // namespace corvo::corvo_internal::base
