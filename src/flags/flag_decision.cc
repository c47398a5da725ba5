#include "flags/flag_decision.h"

#include "experiments/resolution.h"

namespace corvo::flags {

// Only the first experiment that carries the flag is asked.
FlagDecision decideFlag(const experiments::FlagEntry* entry, const targeting::Context& context) {
  if (entry == nullptr) return {};
  if (entry->carrier != nullptr) {
    const auto placement = experiments::resolveExperiment(*entry->carrier, context);
    if (placement.group) return decideInGroup(*entry->carried, *placement.group, context);
  }
  if (entry->record == nullptr) return {};
  return experiments::decideByRules(entry->rules, context,
                                    entry->record->isPrivate.value_or(false));
}

}  // namespace corvo::flags
