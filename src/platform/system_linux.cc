// SPDX-License-Identifier: Apache-2.0

#include <unistd.h>

#include <ctime>
#include <memory>

#include "platform/system.h"
#include "platform/system_parts.h"
#include "platform/system_posix.h"

namespace corvo::corvo_internal::platform {
namespace {

/// The time of the kernel's last tick, a few milliseconds ago. The library needs no finer
/// resolution, and the exact time takes nearly five times as long to read.
class TickClock final : public ExactClock {
 public:
  [[nodiscard]] double now() const override {
    std::timespec tick{};
    if (clock_gettime(CLOCK_REALTIME_COARSE, &tick) != 0) return ExactClock::now();
    return static_cast<double>(tick.tv_sec) + static_cast<double>(tick.tv_nsec) / 1e9;
  }
};

}  // namespace

std::shared_ptr<Clock> systemClock() {
  static const auto clock = std::make_shared<TickClock>();
  return clock;
}

char** const* environmentPlace() noexcept { return &environ; }

}  // namespace corvo::corvo_internal::platform
