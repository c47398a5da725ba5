// SPDX-License-Identifier: Apache-2.0

#include "base/stop_process.h"

#include <cstdio>
#include <cstdlib>

namespace corvo::corvo_internal::base {

void stopProcess(const char* reason) noexcept {
  std::fprintf(stderr, "Corvo: %s\n", reason);
  std::abort();
}

}  // namespace corvo::corvo_internal::base
