// SPDX-License-Identifier: Apache-2.0

#include "json/json_writer.h"

#include <array>
#include <charconv>
#include <cmath>

#include "base/cold.h"
#include "base/text.h"

namespace corvo::corvo_internal::json {
namespace {

// The character after the backslash for each byte that RFC 8259 requires to be escaped; zero for
// all others.
constexpr auto kEscapeLetters = [] {
  std::array<char, 256> letters{};
  for (std::size_t control = 0; control < 0x20; ++control) letters[control] = 'u';
  letters['\b'] = 'b';
  letters['\t'] = 't';
  letters['\n'] = 'n';
  letters['\f'] = 'f';
  letters['\r'] = 'r';
  letters['"'] = '"';
  letters['\\'] = '\\';
  return letters;
}();

char letterOf(char c) { return kEscapeLetters[static_cast<unsigned char>(c)]; }

// Whether one of eight bytes must be escaped. A subtraction borrows into a byte's highest bit if
// the byte is below the limit (S. Anderson, "Bit Twiddling Hacks": hasless, haszero).
bool anyEscaped(std::uint64_t bytes) {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  constexpr std::uint64_t kHighest = 0x80 * kEach;
  const auto anyBelow = [](std::uint64_t word, std::uint64_t limit) {
    return (word - kEach * limit) & ~word & kHighest;
  };
  const auto any = [&](char c) {
    return anyBelow(bytes ^ (kEach * static_cast<unsigned char>(c)), 1);
  };
  return (anyBelow(bytes, 0x20) | any('"') | any('\\')) != 0;
}

// The position of the first byte at or after `from` that must be escaped, or the end.
std::size_t firstEscaped(std::string_view text, std::size_t from) {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  for (; text.size() - from >= kWord; from += kWord) {
    if (anyEscaped(base::loadWord<std::uint64_t>(text.data() + from))) break;
  }
  while (from < text.size() && letterOf(text[from]) == 0) ++from;
  return from;
}

}  // namespace

void JsonWriter::plainKey(std::string_view key) {
  separate();
  text_ += '"';
  text_ += key;
  text_ += "\":";
}

void JsonWriter::key(std::string_view key) {
  separate();
  quote(key);
  text_ += ':';
}

template <class Number>
void JsonWriter::number(Number value) {
  std::array<char, 32> digits;
  const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), value).ptr;
  raw({digits.data(), static_cast<std::size_t>(end - digits.data())});
}

void JsonWriter::integer(std::int64_t value) { number(value); }

void JsonWriter::integer(std::uint64_t value) { number(value); }

template <class Float>
void JsonWriter::finite(Float value) {
  if (std::isfinite(value)) return number(value);
  refuse();
  null();
}

void JsonWriter::real(double value) { finite(value); }

void JsonWriter::real(float value) { finite(value); }

void JsonWriter::string(std::string_view value) {
  separate();
  quote(value);
}

void JsonWriter::value(const JsonValue& value) {
  struct Write {
    JsonWriter& out;
    void operator()(JsonValue::Null) const { out.null(); }
    void operator()(bool truth) const { out.boolean(truth); }
    void operator()(std::int64_t number) const { out.integer(number); }
    void operator()(std::uint64_t number) const { out.integer(number); }
    void operator()(double number) const { out.real(number); }
    void operator()(const std::string& text) const { out.string(text); }
    void operator()(const JsonArray& list) const { out.value(list); }
    void operator()(const JsonObject& object) const { out.value(object); }
  };
  std::visit(Write{*this}, value.value());
}

// Separate functions, because they recurse with the nesting and should use little stack.
CORVO_COLD void JsonWriter::value(const JsonArray& list) {
  beginArray();
  for (const JsonValue& element : list) value(element);
  endArray();
}

CORVO_COLD void JsonWriter::value(const JsonObject& object) {
  beginObject();
  for (const auto& [name, member] : object) {
    key(name);
    value(member);
  }
  endObject();
}

// Writes a comma before a value, unless the value is the first one or follows its key.
void JsonWriter::separate() {
  if (text_.empty()) return;
  const char last = text_.back();
  if (last != '[' && last != '{' && last != ':') text_ += ',';
}

void JsonWriter::open(char bracket) {
  constexpr std::size_t kMostUsers = 512;  // fit into this size, so the text grows only once
  if (text_.empty()) text_.reserve(kMostUsers);
  separate();
  text_ += bracket;
}

void JsonWriter::raw(std::string_view literal) {
  separate();
  text_ += literal;
}

void JsonWriter::quote(std::string_view value) {
  text_ += '"';
  std::size_t copied = 0;
  for (std::size_t at = firstEscaped(value, 0); at < value.size();
       at = firstEscaped(value, copied)) {
    text_.append(value, copied, at - copied);
    escape(value[at]);
    copied = at + 1;
  }
  text_.append(value, copied);
  text_ += '"';
}

void JsonWriter::escape(char c) {
  const char letter = letterOf(c);
  text_ += '\\';
  text_ += letter;
  if (letter != 'u') return;
  text_ += c < 0x10 ? "000" : "001";
  text_ += "0123456789abcdef"[c % 0x10];
}

}  // namespace corvo::corvo_internal::json
