// SPDX-License-Identifier: Apache-2.0

#include <memory>

#include "platform/system.h"
#include "platform/system_parts.h"

namespace corvo::corvo_internal::platform {
namespace {

/// WASI has no time zones.
class UniversalTime final : public TimeZone {
 public:
  [[nodiscard]] std::int32_t offsetAt(std::int64_t /*moment*/) const override { return 0; }
  [[nodiscard]] std::uint64_t identifier() const override { return 0; }
};

}  // namespace

std::shared_ptr<Clock> systemClock() {
  static const auto clock = std::make_shared<ExactClock>();
  return clock;
}

std::shared_ptr<TimeZone> systemTimeZone() {
  static const auto zone = std::make_shared<UniversalTime>();
  return zone;
}

}  // namespace corvo::corvo_internal::platform
