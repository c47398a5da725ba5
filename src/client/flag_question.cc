#include "client/flag_question.h"

#include "experiments/group_values.h"
#include "flags/flag_decision.h"
#include "model/config.h"

namespace corvo::client {

void FlagQuestion::answer(const Evidence& evidence) {
  const experiments::FlagEntry* entry = evidence.project->findFlag(flagName_.get());
  const flags::FlagDecision decision = flags::decideFlag(entry, evidence.context);
  if (decision.rule != nullptr) return sink_->onText(decision.rule->value);
  sink_->onError(experiments::errorOf(decision, flagName_.get()));
}

FlagReport reportFlags(const Evidence& evidence) {
  FlagReport report;
  experiments::Resolver resolver(*evidence.project, evidence.context);
  const auto& records = evidence.project->config().featureFlags;
  report.reserve(records.size());
  for (const model::FeatureFlag& flag : records) {
    const experiments::FlagEntry* entry = evidence.project->findFlag(flag.name);
    if (entry->record != &flag) continue;  // the first flag of a name speaks for it
    const flags::FlagDecision decision = flags::decideFlag(*entry, resolver, evidence.context);
    if (decision.rule != nullptr) report[flag.name] = typedProperty(decision.rule->value);
  }
  return report;
}

}  // namespace corvo::client
