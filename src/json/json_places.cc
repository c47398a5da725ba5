// SPDX-License-Identifier: Apache-2.0

#include "json/json_places.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <utility>

#include "json/json_limits.h"
#include "json/json_number.h"

namespace corvo::corvo_internal::json {
namespace {

constexpr std::string_view kBlanks = " \t\r\n";

bool isBetween(unsigned value, unsigned first, unsigned last) {
  return first <= value && value <= last;
}

/// The size of a UTF-8 character that begins with these two bytes (Unicode, table 3-7); 0 if there
/// is none.
std::size_t characterSize(unsigned lead, unsigned second) {
  if (lead < 0x80) return 1;
  const unsigned lowest = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  const unsigned highest = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  if (!isBetween(lead, 0xC2, 0xF4) || !isBetween(second, lowest, highest)) return 0;
  return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

bool isScalar(std::string_view token) {
  return token == "null" || token == "true" || token == "false" || JsonNumber::parse(token);
}

/// Each operation reads one item and returns whether it is valid.
class Scan {
 public:
  explicit Scan(std::string_view text) : text_(text) {
    if (text.starts_with(kByteOrderMark)) at_ = kByteOrderMark.size();
  }

  JsonPlaces document() {
    if (value() && at_ < text_.size()) fail("expected the end of the text");
    return std::move(places_);
  }

 private:
  bool fail(const char* reason) {
    places_.fault = {at_, reason};
    return false;
  }

  [[nodiscard]] unsigned byte(std::size_t offset = 0) const {
    return at_ + offset < text_.size() ? static_cast<std::uint8_t>(text_[at_ + offset]) : 0;
  }
  void skipBlanks() { at_ = std::min(text_.find_first_not_of(kBlanks, at_), text_.size()); }
  bool skip(char wanted) {
    const bool found = byte() == static_cast<unsigned>(wanted);
    if (found) ++at_;
    return found;
  }

  // A value with the blanks around it.
  bool value() {
    skipBlanks();
    places_.nodes.push_back(at_);
    const bool isRead = skip('{')   ? list('}', &Scan::member, "expected a comma or a brace")
                        : skip('[') ? list(']', &Scan::value, "expected a comma or a bracket")
                        : skip('"') ? string()
                                    : scalar();
    skipBlanks();
    return isRead;
  }

  bool list(char end, bool (Scan::*item)(), const char* expectation) {
    if (++depth_ > kMaxDepth) {
      --at_;
      return fail("nested deeper than 512 levels");
    }
    skipBlanks();
    if (!skip(end)) {
      do {
        if (!(this->*item)()) return false;
      } while (skip(','));
      if (!skip(end)) return fail(expectation);
    }
    --depth_;
    return true;
  }

  bool member() {
    skipBlanks();
    const std::size_t start = at_;
    places_.nodes.push_back(at_);
    if (!skip('"')) return fail("expected a name in quotes");
    if (!string()) return false;
    const std::string_view key = text_.substr(start, at_ - start);
    skipBlanks();
    if (!skip(':')) return fail("expected a colon");
    skipBlanks();
    if (depth_ == 1) places_.members.push_back({key, at_});
    return value();
  }

  bool scalar() {
    const std::size_t end = std::min(text_.find_first_of(" \t\r\n,:[]{}\"", at_), text_.size());
    if (!isScalar(text_.substr(at_, end - at_))) return fail("expected a value");
    at_ = end;
    return true;
  }

  // From after the opening quote to after the closing one.
  bool string() {
    while (!skip('"')) {
      if (byte() < 0x20) return fail("expected a closing quote");  // also at the end of the text
      if (!(byte() == '\\' ? escape() : character())) return false;
    }
    return true;
  }

  bool character() {
    const std::size_t size = characterSize(byte(), byte(1));
    bool isWellFormed = size > 0;
    for (std::size_t i = 2; i < size; ++i) isWellFormed &= isBetween(byte(i), 0x80, 0xBF);
    if (!isWellFormed) return fail("not UTF-8");
    at_ += size;
    return true;
  }

  bool escape() {
    constexpr std::string_view kShort = "\"\\/bfnrt";
    const unsigned unit = escapedUnit(0);
    const bool isHigh = isBetween(unit, 0xD800, 0xDBFF);
    std::size_t size = isHigh ? 12 : 6;
    if (byte(1) != 0 && kShort.find(static_cast<char>(byte(1))) != std::string_view::npos) {
      size = 2;
    } else if (unit == kNoUnit || isBetween(unit, 0xDC00, 0xDFFF) ||
               (isHigh && !isBetween(escapedUnit(6), 0xDC00, 0xDFFF))) {
      return fail("not an escape of JSON");
    }
    at_ += size;
    return true;
  }

  static constexpr unsigned kNoUnit = ~0U;

  // The UTF-16 code unit of an escape with four digits.
  [[nodiscard]] unsigned escapedUnit(std::size_t offset) const {
    if (byte(offset) != '\\' || byte(offset + 1) != 'u') return kNoUnit;
    const std::string_view digits = text_.substr(at_ + offset + 2, 4);
    unsigned unit = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16);
    return digits.size() == 4 && end == digits.data() + 4 && error == std::errc() ? unit : kNoUnit;
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t depth_ = 0;
  JsonPlaces places_;
};

}  // namespace

JsonPlaces jsonPlaces(std::string_view text) { return Scan(text).document(); }

std::pair<std::size_t, std::size_t> LineCounter::at(std::size_t place) {
  if (place < counted_) *this = LineCounter(text_);
  if (counted_ == 0 && text_.starts_with(kByteOrderMark)) counted_ = kByteOrderMark.size();
  for (; counted_ < place; ++counted_) {
    const char c = text_[counted_];
    if (c == '\n') {
      ++line_;
      column_ = 1;
    } else if ((c & 0xC0) != 0x80) {  // the first byte of a character
      ++column_;
    }
  }
  return {line_, column_};
}

std::string lineAndColumn(std::string_view text, std::size_t place) {
  const auto [line, column] = LineCounter(text).at(place);
  return std::to_string(line) + ":" + std::to_string(column);
}

}  // namespace corvo::corvo_internal::json
