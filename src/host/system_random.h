// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/secure_random.h>

#include "host/system.h"

namespace corvo::corvo_internal::host {

/// Random bytes from the operating system's secure source. Thread-safe.
class SystemRandom final : public SecureRandom {
 public:
  void fill(std::span<std::byte> bytes) override { fillAtRandom(bytes); }
};

}  // namespace corvo::corvo_internal::host
