// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/experiment.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "placement/placement.h"
#include "placement/resolution.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::experiments {

/// The experiments of a project that a question covers.
enum class Scope : std::uint8_t { all, withoutHoldouts, onlyHoldouts };

[[nodiscard]] constexpr Scope scopeWith(bool holdouts) noexcept {
  return holdouts ? Scope::all : Scope::withoutHoldouts;
}

/// An experiment that the user takes part in, with their group in it.
struct Membership {
  const project::PreparedExperiment* experiment;
  placement::Placement placement;
};

/// The experiments that the report's user takes part in, in the project's order. All experiments
/// are resolved; those within the scope are returned.
[[nodiscard]] std::vector<Membership> eligibleExperiments(const project::PreparedProject& project,
                                                          Scope scope,
                                                          placement::Resolver::Report& report);

/// The name and the group index of each, as "name.index", joined by "|"; empty if there are no
/// memberships. Names are inserted verbatim.
[[nodiscard]] std::optional<std::string> membershipText(const std::vector<Membership>& memberships);

/// The handles of the memberships.
[[nodiscard]] std::vector<CorvoExperimentPointer> experimentHandles(
    const std::shared_ptr<const project::PreparedProject>& project,
    const std::vector<Membership>& memberships, const targeting::Context& context);

}  // namespace corvo::corvo_internal::experiments
