#pragma once

#include <corvo/error.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "experiments/project.h"
#include "model/config.h"
#include "targeting/context.h"
#include "targeting/rules.h"

namespace corvo::experiments {

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
  const std::string* value = nullptr;    ///< The deciding rule's; null where there is no value.
  const model::Group* group = nullptr;   ///< The user's group, where an experiment decided,
  const CarriedFlag* carried = nullptr;  ///< and the flag that it carries.
};

/// Lets a list of rules decide. `hashed` is the privacy of whoever owns the decision.
[[nodiscard]] FlagDecision decideByRules(const targeting::RuleList& rules,
                                         const targeting::Context& context, bool hashed);

/// Decides a flag that an experiment carries for a user who has that group there: by the rules of
/// the flag's first group of the same name. Pure.
[[nodiscard]] FlagDecision decideInGroup(const CarriedFlag& flag, const model::Group& group,
                                         const targeting::Context& context);

/// The decisions about all flags that an experiment carries, by position. Of two flags with one
/// name the first decides for both.
[[nodiscard]] std::vector<FlagDecision> decideFlags(const PreparedExperiment& experiment,
                                                    const model::Group& group,
                                                    const targeting::Context& context);

/// The error of a decision without a value.
[[nodiscard]] CorvoError errorOf(const FlagDecision& decision, std::string_view flagName);

/// The first text that a parameter has for that group, or null.
[[nodiscard]] const std::string* paramValue(const model::Param& param, const model::Group& group);

}  // namespace corvo::experiments
