// SPDX-License-Identifier: Apache-2.0

#include "c/call.h"
#include "c/ready_made.h"

namespace corvo::corvo_internal::c {

Host readyMade(const corvo_host_options* /*options*/) {
  throw Misuse(CORVO_UNAVAILABLE, "this build has no ready-made platform: bring all services");
}

}  // namespace corvo::corvo_internal::c
