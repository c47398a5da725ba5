// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <coroutine>

namespace corvo::tests {

/// A minimal coroutine type: starts immediately, and is destroyed at its end or by its owner.
template <class AtEnd>
struct Coroutine {
  struct promise_type {
    Coroutine get_return_object() {
      return {std::coroutine_handle<promise_type>::from_promise(*this)};
    }
    std::suspend_never initial_suspend() { return {}; }
    AtEnd final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { throw; }
  };
  std::coroutine_handle<promise_type> handle;
};
using FireAndForget = Coroutine<std::suspend_never>;
using Owned = Coroutine<std::suspend_always>;

}  // namespace corvo::tests
