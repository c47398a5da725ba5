#pragma once

#include "lint/report.h"

// The checks, each of one subject. All but the first need a document that is a configuration.

namespace corvo::corvo_internal::lint {

/// Keys that no record has, and keys that stand twice. Looks at dropped records, too.
void checkKeys(const Document& document, Report& report);

/// What the reader dropped, and what the platform filter drops though it was not meant to.
void checkReading(const Document& document, Report& report);

/// Allocations, weights and salts.
void checkShares(const Document& document, Report& report);

/// Layers and their bounds.
void checkLayers(const Document& document, Report& report);

/// Rules and targets.
void checkRules(const Document& document, Report& report);

/// The values of one flag among one another.
void checkValues(const Document& document, Report& report);

/// What experiments and flags say of one another: names, groups, parameters, holdouts, forced
/// users.
void checkExperiments(const Document& document, Report& report);

}  // namespace corvo::corvo_internal::lint
