// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/error.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// How texts and values pass between the engine and JavaScript. `src/engine.ts` is the other side:
// both must have the same layouts. An invalid handle never arrives here, since JavaScript keeps
// handles in private fields.

/// Makes a function callable from JavaScript.
#define CORVO_WASM_EXPORT(name) extern "C" __attribute__((export_name(#name)))

namespace corvo::corvo_internal::wasm {

/// What a record holds.
enum class Kind : std::uint32_t {
  absent,
  boolean,
  integer,
  number,
  string,
  json,     // a string that is the text of a JSON object
  any,      // only to ask for a value: the first of JSON, boolean, integer, number, string
  list,     // `text` is the address of the elements, `size` their number
  failure,  // `name` is the error's case, `text` its description, `integer` the offset or -1
};

/// One result.
struct Record {
  Record() = default;
  explicit Record(Kind of) : kind(of) {}
  Record(Kind of, const void* address, std::size_t count) : kind(of), text(address), size(count) {}
  Record(Kind of, std::string_view view) : Record(of, view.data(), view.size()) {}

  Kind kind = Kind::absent;
  std::uint32_t position = 0;  // of the flag, in a list of their values
  const char* name = nullptr;
  std::size_t nameSize = 0;
  const void* text = nullptr;
  std::size_t size = 0;
  union {
    std::int64_t integer = 0;  // and 0 or 1 for a boolean
    double number;
  };
};
static_assert(sizeof(void*) == 4 && sizeof(Record) == 32 && offsetof(Record, integer) == 24);

/// A configuration text, read as a kind of value.
[[nodiscard]] Record valueOf(std::string_view text, Kind kind);

/// Set the result of the current call. A text that is moved is kept until the next one.
void answer(const Record& record) noexcept;
void answer(std::string&& text);
void answer(bool value) noexcept;
void answerNothing() noexcept;
void answer(const CorvoError& error);
/// Adds a name, which must last until the next call, and an integer to the result.
void answerAlso(std::string_view name, std::int64_t integer) noexcept;

/// A list, whose elements must last until the next call.
template <class List>
void answerList(const List& list) noexcept {
  answer(Record(Kind::list, list.data(), list.size()));
}

/// The bytes that JavaScript wrote for the current call, and perhaps more.
[[nodiscard]] std::vector<char>& input() noexcept;
/// Their first part, as a text.
[[nodiscard]] std::string_view inputText(std::size_t size) noexcept;
/// Frees their memory, after a document.
void dropInput() noexcept;

}  // namespace corvo::corvo_internal::wasm
