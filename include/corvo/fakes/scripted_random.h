// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/platform/secure_random.h>

#include <cstddef>
#include <span>
#include <vector>

namespace corvo::fakes {

/// Random bytes from a script, which repeats when it ends; by default 0, 1, 2, ... 255.
class CORVO_FAKES_EXPORT ScriptedRandom final : public SecureRandom {
 public:
  ScriptedRandom();
  /// With an empty script, filling throws.
  explicit ScriptedRandom(std::vector<std::byte> script);

  void fill(std::span<std::byte> bytes) override;
  /// Makes filling throw from now on, or work again.
  void failFilling(bool fails) { fails_ = fails; }

 private:
  std::vector<std::byte> script_;
  std::size_t next_ = 0;
  bool fails_ = false;
};

}  // namespace corvo::fakes
