#include "client/flag_question.h"

#include "flags/flag_decision.h"
#include "model/config.h"

namespace corvo::client {

void FlagQuestion::answer(const Evidence& evidence) {
  const experiments::FlagEntry* entry = evidence.project->findFlag(flagName_);
  const flags::FlagDecision decision = flags::decideFlag(entry, evidence.context);
  if (decision.rule != nullptr) return sink_->onText(decision.rule->value);
  sink_->onError(flags::errorOf(decision, flagName_, entry));
}

FlagReport reportFlags(const Evidence& evidence) {
  FlagReport report;
  const auto& records = evidence.project->config().featureFlags;
  report.reserve(records.size());
  for (const model::FeatureFlag& flag : records) {
    const experiments::FlagEntry* entry = evidence.project->findFlag(flag.name);
    if (entry->record != &flag) continue;  // the first flag of a name speaks for it
    const flags::FlagDecision decision = flags::decideFlag(entry, evidence.context);
    if (decision.rule != nullptr) report[flag.name] = typedProperty(decision.rule->value);
  }
  return report;
}

}  // namespace corvo::client
