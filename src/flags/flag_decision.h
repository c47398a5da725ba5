#pragma once

#include "experiments/group_values.h"
#include "experiments/project.h"
#include "experiments/resolution.h"
#include "targeting/context.h"

namespace corvo::flags {

using experiments::FlagDecision;

/// Decides a flag for the user of the context: by the group that the user has in the experiment
/// that carries the flag, else by the flag's own rules. The entry is that of the flag's name, null
/// when there is none. Pure.
[[nodiscard]] FlagDecision decideFlag(const experiments::FlagEntry* entry,
                                      const targeting::Context& context);

/// The same for a flag of the configuration, when the experiments are resolved for many flags.
[[nodiscard]] FlagDecision decideFlag(const experiments::FlagEntry& entry,
                                      experiments::Resolver& resolver,
                                      const targeting::Context& context);

}  // namespace corvo::flags
