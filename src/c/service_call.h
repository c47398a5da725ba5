// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "c/call.h"

namespace corvo::corvo_internal::c {

/// Marks that this thread is inside a function of the caller's platform. The library may then hold
/// locks, so a client, a loop or a task must wait for its return.
class ServiceCall {
 public:
  ServiceCall() { ++depth(); }
  ServiceCall(const ServiceCall&) = delete;
  ServiceCall& operator=(const ServiceCall&) = delete;
  ~ServiceCall() { --depth(); }

  /// Throws `Misuse` inside such a function.
  static void refuse() {
    if (depth() > 0) throwBusy();
  }

 private:
  static int& depth() {
    static thread_local int count = 0;
    return count;
  }
};

}  // namespace corvo::corvo_internal::c
