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

/// Which experiments of a project a question is about.
enum class Scope : std::uint8_t { all, withoutHoldouts, onlyHoldouts };

[[nodiscard]] constexpr Scope scopeWith(bool holdouts) noexcept {
  return holdouts ? Scope::all : Scope::withoutHoldouts;
}

/// An experiment that the user takes part in, with his group there.
struct Membership {
  const project::PreparedExperiment* experiment;
  placement::Placement placement;
};

/// The experiments that the user of the report takes part in, in the project's order. All are
/// resolved; those within the scope are kept.
[[nodiscard]] std::vector<Membership> eligibleExperiments(const project::PreparedProject& project,
                                                          Scope scope,
                                                          placement::Resolver::Report& report);

/// The name and the group's index of each, as "name.index", joined by "|"; none where there are no
/// memberships. Names stand as they are, whatever they hold.
[[nodiscard]] std::optional<std::string> membershipText(const std::vector<Membership>& memberships);

/// The handle of each.
[[nodiscard]] std::vector<CorvoExperimentPointer> experimentHandles(
    const std::shared_ptr<const project::PreparedProject>& project,
    const std::vector<Membership>& memberships, const targeting::Context& context);

}  // namespace corvo::corvo_internal::experiments
