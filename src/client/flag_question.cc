#include "client/flag_question.h"

#include "experiments/group_values.h"
#include "flags/flag_decision.h"
#include "model/config.h"

namespace corvo::client {

void FlagQuestion::answer(const Evidence& evidence) {
  const experiments::FlagEntry* entry = evidence.project->findFlag(flagName_.get());
  const flags::FlagDecision decision = flags::decideFlag(entry, evidence.context);
  if (decision.value != nullptr) return sink_->keepText(*decision.value);
  sink_->keepError(experiments::errorOf(decision, flagName_.get()));
}

FlagReport reportFlags(const Evidence& evidence) {
  FlagReport report;
  report.reserve(evidence.project->config().featureFlags.size());
  experiments::Resolver resolver(*evidence.project, evidence.context);
  for (const experiments::FlagEntry& entry : evidence.project->flags()) {
    if (!entry.isInConfiguration) continue;
    const flags::FlagDecision decision = flags::decideFlag(entry, resolver, evidence.context);
    if (decision.value) report.emplace(entry.name, typedProperty(*decision.value));
  }
  return report;
}

}  // namespace corvo::client
