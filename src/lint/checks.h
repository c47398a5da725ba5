// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "lint/report.h"

// The checks, one per subject. All except the first require a valid configuration.

namespace corvo::corvo_internal::lint {

/// Unknown and repeated keys, also in dropped records.
void checkKeys(const Document& document, Report& report);

/// Everything that decoding dropped, and whatever the platform filter probably drops by mistake.
void checkReading(const Document& document, Report& report);

/// Allocations, weights and salts.
void checkAllocations(const Document& document, Report& report);

/// Layers and their bounds.
void checkLayers(const Document& document, Report& report);

/// Rules and targets.
void checkRules(const Document& document, Report& report);

/// Whether the values of one flag fit together.
void checkValues(const Document& document, Report& report);

/// References between experiments and flags: names, groups, parameters, holdouts, forced users.
void checkExperiments(const Document& document, Report& report);

}  // namespace corvo::corvo_internal::lint
