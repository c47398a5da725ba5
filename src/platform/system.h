// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>

#include <memory>

namespace corvo::corvo_internal::platform {

/// The system's clock. One instance per process. Thread-safe.
[[nodiscard]] std::shared_ptr<Clock> systemClock();

/// The time zone of the process as the C library defines it: the variable TZ, or else the system's
/// setting. Follows changes of either, even without a call of `tzset`. One instance per process.
/// Thread-safe as long as nobody changes the environment at the same time.
[[nodiscard]] std::shared_ptr<TimeZone> systemTimeZone();

}  // namespace corvo::corvo_internal::platform
