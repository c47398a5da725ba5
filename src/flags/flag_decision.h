// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/error.h>
#include <corvo/flag_reason.h>
#include <corvo/result.h>

#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "flags/observer.h"
#include "model/config.h"
#include "placement/resolution.h"
#include "project/prepared_project.h"
#include "targeting/context.h"
#include "targeting/rules.h"

namespace corvo::corvo_internal::flags {

/// The value of a flag for a user and the reason, or the reason why it has none.
struct FlagDecision {
  FlagReason reason = FlagReason::featureFlagNotFound;
  const targeting::PreparedRule* rule = nullptr;  ///< Its value counts; null if there is none.
  const model::Group* group = nullptr;            ///< The user's group, if an experiment decided,
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
    case FlagReason::featureFlagNoRules:
      return {std::in_place_type<CorvoError::FeatureFlagNoRules>, name};
    case FlagReason::featureFlagRulesNotSatisfied:
      return {std::in_place_type<CorvoError::FeatureFlagRulesNotSatisfied>, name};
    case FlagReason::experimentGroupNotMatchingFeatureFlagGroup:
      return groupNotMatching(decision, name);
    case FlagReason::rule:
    case FlagReason::featureFlagNotFound:
      break;
  }
  return {std::in_place_type<CorvoError::FeatureFlagNotFound>, name};
}

}  // namespace corvo::corvo_internal::flags
