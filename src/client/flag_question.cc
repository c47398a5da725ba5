#include "client/flag_question.h"

#include "flags/flag_decision.h"
#include "model/config.h"

namespace corvo::corvo_internal::client {

Result<std::string_view> DecidingFlag::decide(const Evidence& evidence) const {
  const project::FlagEntry* entry = evidence.project->findFlag(name.get());
  const flags::FlagDecision decision = flags::decideFlag(entry, evidence.context);
  if (decision.value != nullptr) return std::string_view(*decision.value);
  return flags::errorOf(decision, name.get());
}

FlagReport reportFlags(const Evidence& evidence) {
  FlagReport report;
  report.reserve(evidence.project->config().featureFlags.size());
  placement::Resolver resolver(*evidence.project, evidence.context);
  for (const project::FlagEntry& entry : evidence.project->flags()) {
    if (!entry.isInConfiguration) continue;
    const flags::FlagDecision decision = flags::decideFlag(entry, resolver, evidence.context);
    if (decision.value) report.emplace(entry.name, typedProperty(*decision.value));
  }
  return report;
}

}  // namespace corvo::corvo_internal::client
