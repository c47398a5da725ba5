#pragma once

#include <corvo/error.h>

#include <cstdint>
#include <string_view>

#include "experiments/project.h"
#include "model/config.h"
#include "targeting/context.h"

namespace corvo::flags {

/// Which value a flag has for a user and why, or why it has none.
struct FlagDecision {
  enum class Reason : std::uint8_t {
    rule,               ///< `rule` holds.
    notFound,           ///< The configuration has no flag of that name.
    noRules,            ///< The rule list in use is empty.
    rulesNotSatisfied,  ///< No rule of the list in use holds.
    groupNotMatching    ///< The carried flag has no group of the name of the user's group.
  };

  Reason reason = Reason::notFound;
  const model::Rule* rule = nullptr;    ///< The rule that decided; null where there is no value.
  const model::Group* group = nullptr;  ///< The user's group, where an experiment decided.
};

/// Decides a flag for the user of the context: by the group that the user has in the experiment
/// that carries the flag, else by the flag's own rules. The entry is that of the flag's name, null
/// when there is none. Pure; allocates nothing.
[[nodiscard]] FlagDecision decideFlag(const experiments::FlagEntry* entry,
                                      const targeting::Context& context);

/// The error of a decision without a value.
[[nodiscard]] CorvoError errorOf(const FlagDecision& decision, std::string_view flagName,
                                 const experiments::FlagEntry* entry);

}  // namespace corvo::flags
