// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <thread>

namespace corvo::tool {

/// Waits for something that must come, however slow the machine is: for a minute at most.
template <class Condition>
bool comes(Condition condition) {
  for (int i = 0; i < 12'000 && !condition(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return condition();
}

}  // namespace corvo::tool
