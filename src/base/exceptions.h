// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "base/stop_process.h"

namespace corvo::corvo_internal::base {

// The difference in a build without exceptions: nothing can be caught, and whatever would be thrown
// aborts the process.

/// The result of `action`; if it throws, the result of `otherwise`.
template <class Action, class Otherwise>
auto attempt(Action action, [[maybe_unused]] Otherwise otherwise) noexcept {
#ifdef __cpp_exceptions
  try {
    return action();
  } catch (...) {
    return otherwise();
  }
#else
  return action();
#endif
}

/// Throws the exception. Without exceptions, aborts the process with its text.
template <class Exception>
[[noreturn]] void throwOrStop(const Exception& exception) {
#ifdef __cpp_exceptions
  throw Exception(exception);
#else
  stopProcess(exception.what());
#endif
}

}  // namespace corvo::corvo_internal::base
