// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/explanation.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "model/config.h"
#include "placement/observer.h"
#include "placement/placement.h"
#include "project/prepared_project.h"
#include "targeting/context.h"
#include "targeting/observer.h"

namespace corvo::corvo_internal::evaluation {

// The facts of an explanation's steps, in display order. docs/explain.md defines their names
// and the words among their values.

using Facts = std::vector<Explanation::Fact>;

/// An experiment or a holdout, by its position in the project.
[[nodiscard]] Facts factsOf(const project::PreparedExperiment& experiment,
                            const project::PreparedProject& project);
/// Adds the facts known after the user has been placed.
void addPlacement(const placement::Placement& placement, Facts& facts);

[[nodiscard]] Facts factsOf(const placement::SplitIdentified& event,
                            const targeting::Context& context);
/// Whether the user's own property to split by has expired.
[[nodiscard]] bool hasExpired(model::SplitMode mode, const targeting::Context& context);

[[nodiscard]] Facts factsOf(const model::LayerBounds& interval);
[[nodiscard]] Facts factsOf(const model::Group& share);
[[nodiscard]] Facts factsOf(const placement::Hashed& event);
[[nodiscard]] Facts factsOf(const placement::AllocationTested& event);

[[nodiscard]] Facts factsOf(const model::Rule& rule, std::size_t position);
[[nodiscard]] Facts factsOf(const model::Condition& condition);
/// Adds the facts known after the condition has been tested.
void addTest(const targeting::ConditionTested& event, const model::Condition& condition,
             const targeting::Context& context, Facts& facts);

/// The text of a flag's value, and the type that it is read as.
[[nodiscard]] Facts factsOfValue(std::string_view text);

}  // namespace corvo::corvo_internal::evaluation
