#include "flags/flag_decision.h"

namespace corvo::flags {

namespace {

// Only the first experiment that carries the flag is asked.
template <class Resolve>
FlagDecision decide(const experiments::FlagEntry& entry, const targeting::Context& context,
                    Resolve resolve) {
  if (entry.carrier != nullptr) {
    const experiments::Placement& placement = resolve(*entry.carrier);
    if (placement.group) return decideInGroup(*entry.carried, *placement.group, context);
  }
  if (!entry.isInConfiguration) return {};
  return experiments::decideByRules(entry.rules, context, entry.isPrivate);
}

}  // namespace

FlagDecision decideFlag(const experiments::FlagEntry* entry, const targeting::Context& context) {
  if (entry == nullptr) return {};
  return decide(*entry, context, [&](const experiments::PreparedExperiment& carrier) {
    return experiments::resolveExperiment(carrier, context);
  });
}

FlagDecision decideFlag(const experiments::FlagEntry& entry, experiments::Resolver& resolver,
                        const targeting::Context& context) {
  return decide(entry, context, [&](const experiments::PreparedExperiment& carrier) {
    return resolver.resolve(carrier);
  });
}

}  // namespace corvo::flags
