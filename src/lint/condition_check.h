#pragma once

#include <optional>

#include "lint/report.h"

namespace corvo::corvo_internal::lint {

/// Checks a condition by itself. `constant` is its answer where that does not depend on the
/// property, and `isPrivate` the privacy of whoever owns the decision.
void checkCondition(const Document& document, Placed<model::Condition> condition,
                    std::optional<bool> constant, bool isPrivate, Report& report);

}  // namespace corvo::corvo_internal::lint
