// SPDX-License-Identifier: Apache-2.0

#include <crt_externs.h>

#include <memory>

#include "platform/system.h"
#include "platform/system_parts.h"
#include "platform/system_posix.h"

namespace corvo::corvo_internal::platform {

std::shared_ptr<Clock> systemClock() {
  static const auto clock = std::make_shared<ExactClock>();
  return clock;
}

char** const* environmentPlace() noexcept { return _NSGetEnviron(); }

}  // namespace corvo::corvo_internal::platform
