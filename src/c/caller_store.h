// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/preferences_store.h>

#include <memory>

#include "c/caller_functions.h"

namespace corvo::corvo_internal::c {

/// A store by the caller's functions, which have no revisions: all changes pass through it, and it
/// counts them.
std::shared_ptr<PreferencesStore> callerStore(std::shared_ptr<const CallerFunctions> functions);

}  // namespace corvo::corvo_internal::c
