// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "lint/report.h"

namespace corvo::corvo_internal::lint {

/// Checks a single condition. `constant` is its answer if that does not depend on the property;
/// `isPrivate` is the privacy setting of the flag or experiment.
void checkCondition(const Document& document, Placed<model::Condition> condition,
                    std::optional<bool> constant, bool isPrivate, Report& report);

}  // namespace corvo::corvo_internal::lint
