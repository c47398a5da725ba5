#pragma once

#include <corvo/platform/secure_random.h>

namespace corvo::host {

/// Random bytes of the operating system's secure source. Any thread.
class SystemRandom final : public SecureRandom {
 public:
  void fill(std::span<std::byte> bytes) override;
};

}  // namespace corvo::host
