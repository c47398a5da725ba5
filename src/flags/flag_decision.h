// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/error.h>
#include <corvo/result.h>

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "flags/observer.h"
#include "model/config.h"
#include "placement/resolution.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::flags {

/// The value of a flag for a user and the reason, or the reason why it has none.
struct FlagDecision {
  enum class Reason : std::uint8_t {
    rule,               ///< A rule holds.
    notFound,           ///< The configuration has no flag of that name.
    noRules,            ///< The applicable rule list is empty.
    rulesNotSatisfied,  ///< No rule of the applicable list holds.
    groupNotMatching    ///< The carried flag has no group with the name of the user's group.
  };

  Reason reason = Reason::notFound;
  const model::Text* value = nullptr;   ///< Of the deciding rule; null if there is no value.
  const model::Group* group = nullptr;  ///< The user's group, if an experiment decided,
  const project::CarriedFlag* carried = nullptr;  ///< and the flag that the experiment carries.
};

/// Decides a flag for the context's user: by the user's group in the experiment that carries the
/// flag, or else by the flag's own rules. The entry is the one of the flag's name, null if there is
/// none.
[[nodiscard]] FlagDecision decideFlag(const project::FlagEntry* entry,
                                      placement::Resolver& resolver,
                                      const targeting::Context& context);

/// The same for one of many flags.
[[nodiscard]] FlagDecision decideFlag(const project::FlagEntry& entry,
                                      placement::Resolver::Report& report,
                                      const targeting::Context& context);

/// Like the first, with an observer. Remembers nothing.
[[nodiscard]] FlagDecision decideFlag(const project::FlagEntry* entry,
                                      const targeting::Context& context, Observer& observer);

/// Decides all flags that an experiment carries, by position. If two flags have one name, the first
/// decides for both.
void decideFlags(const project::PreparedExperiment& experiment, const model::Group& group,
                 const targeting::Context& context, std::vector<FlagDecision>& decisions);

/// The error if the carried flag lacks the user's group.
[[nodiscard]] CorvoError groupNotMatching(const FlagDecision& decision, std::string_view flagName);

/// The error of a decision without a value. Ill-formed UTF-8 in the name is replaced.
template <class T>
[[nodiscard]] Result<T> failureOf(const FlagDecision& decision, std::string_view flagName) {
  const base::WellFormed name(flagName);
  switch (decision.reason) {
    case FlagDecision::Reason::noRules:
      return {std::in_place_type<CorvoError::FeatureFlagNoRules>, name};
    case FlagDecision::Reason::rulesNotSatisfied:
      return {std::in_place_type<CorvoError::FeatureFlagRulesNotSatisfied>, name};
    case FlagDecision::Reason::groupNotMatching:
      return groupNotMatching(decision, name);
    case FlagDecision::Reason::rule:
    case FlagDecision::Reason::notFound:
      break;
  }
  return {std::in_place_type<CorvoError::FeatureFlagNotFound>, name};
}

}  // namespace corvo::corvo_internal::flags
