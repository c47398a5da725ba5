#include "client/experiment_questions.h"

#include <memory>
#include <optional>
#include <string>

#include "experiments/experiment_impl.h"
#include "placement/resolution.h"

namespace corvo::corvo_internal::client {

Result<CorvoExperimentPointer> decideExperiment(const Evidence& evidence, std::string_view name) {
  const project::PreparedExperiment* each = evidence.project->findExperiment(name);
  if (each == nullptr) return CorvoError(CorvoError::ExperimentNotFound{std::string(name)});
  // Several of one name may name the same holdouts: then each of these is resolved once, at the
  // price of a memory for the whole project.
  std::optional<placement::Resolver> resolver;
  if (each->nextOfName != nullptr) resolver.emplace(*evidence.project, evidence.context);
  for (; each != nullptr; each = each->nextOfName) {
    const auto placement =
        resolver ? resolver->resolve(*each) : placement::resolveExperiment(*each, evidence.context);
    if (placement.group == nullptr) continue;
    return std::make_shared<const experiments::CorvoExperimentImpl>(evidence.project, *each,
                                                                    placement, evidence.context);
  }
  return nullptr;
}

// The holdouts that a holdout itself names do not count here, though they do in the list of all.
Result<bool> decideHoldout(const Evidence& evidence, std::string_view name) {
  const project::PreparedExperiment* holdout = evidence.project->findHoldout(name);
  if (holdout == nullptr) return CorvoError(CorvoError::HoldoutNotFound{std::string(name)});
  return placement::resolveIgnoringHoldouts(*holdout, evidence.context).group != nullptr;
}

}  // namespace corvo::corvo_internal::client
