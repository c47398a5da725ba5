// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/platform.h>
#include <corvo/host.h>

namespace corvo::corvo_internal::c {

/// The ready-made platform. Throws `Misuse` if this build has none.
Host readyMade(const corvo_host_options* options);

}  // namespace corvo::corvo_internal::c
