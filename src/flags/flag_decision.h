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

/// Which value a flag has for a user and why, or why it has none.
struct FlagDecision {
  enum class Reason : std::uint8_t {
    rule,               ///< A rule holds.
    notFound,           ///< The configuration has no flag of that name.
    noRules,            ///< The rule list in use is empty.
    rulesNotSatisfied,  ///< No rule of the list in use holds.
    groupNotMatching    ///< The carried flag has no group of the name of the user's group.
  };

  Reason reason = Reason::notFound;
  const model::Text* value = nullptr;   ///< The deciding rule's; null where there is no value.
  const model::Group* group = nullptr;  ///< The user's group, where an experiment decided,
  const project::CarriedFlag* carried = nullptr;  ///< and the flag that it carries.
};

/// Decides a flag for the user of the context: by the group that the user has in the experiment
/// that carries the flag, else by the flag's own rules. The entry is that of the flag's name, null
/// when there is none.
[[nodiscard]] FlagDecision decideFlag(const project::FlagEntry* entry,
                                      placement::Resolver& resolver,
                                      const targeting::Context& context);

/// The same for one of many flags.
[[nodiscard]] FlagDecision decideFlag(const project::FlagEntry& entry,
                                      placement::Resolver::Report& report,
                                      const targeting::Context& context);

/// The first, seen by an observer. Remembers nothing.
[[nodiscard]] FlagDecision decideFlag(const project::FlagEntry* entry,
                                      const targeting::Context& context, Observer& observer);

/// Fills a list with the decisions about all flags that an experiment carries, by position. Of two
/// flags with one name the first decides for both.
void decideFlags(const project::PreparedExperiment& experiment, const model::Group& group,
                 const targeting::Context& context, std::vector<FlagDecision>& decisions);

/// The error of a flag that does not have the user's group.
[[nodiscard]] CorvoError groupNotMatching(const FlagDecision& decision, std::string_view flagName);

/// The error of a decision without a value. A name that is ill-formed is mended.
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
