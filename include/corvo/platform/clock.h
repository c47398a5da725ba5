// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>

namespace corvo {

/// Tells the time. Called on the thread that uses a client or a builder; one client never calls it
/// concurrently.
class CORVO_TYPE Clock {
 public:
  virtual ~Clock() = default;

  /// The current moment, in seconds since 1970-01-01 00:00:00 UTC, without leap seconds.
  [[nodiscard]] virtual double now() const = 0;
};

}  // namespace corvo
