// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c.h>
#include <corvo/error.h>

#include <exception>
#include <string_view>

namespace corvo::corvo_internal::c {

/// Each records the last error of this thread and returns its status.
corvo_status failed(const CorvoError& error) noexcept;
corvo_status failed(corvo_status status, std::string_view text) noexcept;

/// An argument that a caller in C got wrong.
class Misuse : public std::exception {
 public:
  Misuse(corvo_status misuse, const char* words) : status(misuse), text(words) {}

  corvo_status status;
  const char* text;  // static
};

/// Runs what a function of the C interface does, which nothing may leave by an exception.
template <class Body>
corvo_status call(Body body) noexcept {
  try {
    body();
    return CORVO_OK;
  } catch (const CorvoError& error) {
    return failed(error);
  } catch (const Misuse& misuse) {
    return failed(misuse.status, misuse.text);
  } catch (const std::exception&) {  // std::bad_alloc, or std::length_error for an absurd size
    return failed(CORVO_OUT_OF_MEMORY, "memory ran out");
  }
}

/// The text of an argument. Throws `Misuse` for one without data.
std::string_view viewOf(corvo_text text);
inline corvo_text asText(std::string_view text) { return {text.data(), text.size()}; }

/// Where a function stores its result. Throws `Misuse` for null.
template <class Result>
Result& resultAt(Result* result) {
  if (result == nullptr) throw Misuse(CORVO_INVALID_ARGUMENT, "there is no place for the result");
  return *result;
}

}  // namespace corvo::corvo_internal::c
