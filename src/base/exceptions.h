#pragma once

#include "base/stop_process.h"

namespace corvo::corvo_internal::base {

// What differs where a build has no exceptions: nothing can be caught there, and what would be
// thrown stops the process.

/// The action's result; where it throws, that of the other.
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

/// Throws the exception, or stops the process with its text.
template <class Exception>
[[noreturn]] void throwOrStop(const Exception& exception) {
#ifdef __cpp_exceptions
  throw Exception(exception);
#else
  stopProcess(exception.what());
#endif
}

}  // namespace corvo::corvo_internal::base
