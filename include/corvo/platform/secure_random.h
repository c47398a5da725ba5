// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

#include <cstddef>
#include <span>

namespace corvo {

/// A source of cryptographically secure random bytes.
class CORVO_TYPE SecureRandom {
 public:
  virtual ~SecureRandom() = default;

  /// Fills all bytes, or throws a `std::exception`. Must never leave weak bytes.
  virtual void fill(std::span<std::byte> bytes) = 0;
};

}  // namespace corvo
