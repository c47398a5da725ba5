// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/platform.h>
#include <corvo/platform/platform.h>

namespace corvo::corvo_internal::c {

/// The services that an application in C brings; null for the others. Owns the context of `given`,
/// even if it throws: `Misuse` for a group of functions that is not complete.
Platform callerPlatform(const corvo_platform* given);

}  // namespace corvo::corvo_internal::c
