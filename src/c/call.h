// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/base.h>
#include <corvo/error.h>

#include <cstddef>
#include <cstring>
#include <exception>
#include <optional>
#include <span>
#include <string_view>

namespace corvo::corvo_internal::c {

/// An error in C with that text. An error of the library has its own description as text.
corvo_error described(const CorvoError& error, std::string_view description);
corvo_error errorOf(corvo_status status, std::string_view text);

/// Records the last error of this thread and returns its status.
corvo_status failed(const corvo_error& error) noexcept;
corvo_status failed(corvo_status status, std::string_view text) noexcept;

/// What a caller in C is told instead of an answer: a mistake of theirs, or of what they passed.
class Misuse : public std::exception {
 public:
  Misuse(corvo_status misuse, const char* words) : status(misuse), text(words) {}

  corvo_status status;
  const char* text;  // static
};

[[noreturn]] inline void throwInvalidHandle() {
  throw Misuse(CORVO_INVALID_HANDLE, "the handle is null, freed, or of another type");
}
[[noreturn]] inline void throwBusy() {
  throw Misuse(CORVO_BUSY,
               "the handle is in use, on another thread or by the caller of a callback");
}

inline constexpr std::string_view kNoMemory = "memory ran out";

/// Records the exception that is being handled, and returns its status.
corvo_status failedByException() noexcept;

/// Runs what a function of the C interface does, which nothing may leave by an exception.
template <class Body>
corvo_status call(Body body) noexcept {
  try {
    body();
    return CORVO_OK;
  } catch (const std::exception&) {
    return failedByException();
  }
}

/// The text of an argument. Throws `Misuse` for one without data.
std::string_view viewOf(corvo_text text);
/// A text for the caller, perhaps empty, but never "no text".
inline corvo_text asText(std::string_view text) {
  return {text.data() == nullptr ? "" : text.data(), text.size()};
}

/// The same; absent for no text at all.
std::optional<std::string_view> optionalViewOf(corvo_text text);

/// The elements of an argument. Throws `Misuse` for a list without an address.
template <class Element>
std::span<const Element> listOf(const Element* elements, std::size_t count) {
  if (elements == nullptr && count > 0) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "a list has a count but no address");
  }
  return {elements, count};
}

/// Where a function stores its result. Throws `Misuse` for null.
template <class Result>
Result& resultAt(Result* result) {
  if (result == nullptr) throw Misuse(CORVO_INVALID_ARGUMENT, "there is no place for the result");
  return *result;
}

/// A struct that begins with its size. Throws `Misuse` for null or another size. Once a version has
/// added members, it accepts the sizes without them, too.
template <class Struct>
Struct& sizedAt(Struct* given) {
  if (given == nullptr || given->size != sizeof(Struct)) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "a struct is null, or its size is not its sizeof");
  }
  return *given;
}

/// A boolean of a struct, whatever byte the caller has put there.
inline bool isTrue(const bool& flag) {
  unsigned char byte = 0;
  std::memcpy(&byte, &flag, 1);
  return byte != 0;
}

}  // namespace corvo::corvo_internal::c
