#include "experiments/memberships.h"

#include "experiments/experiment_impl.h"
#include "placement/resolution.h"

namespace corvo::corvo_internal::experiments {
namespace {

bool isWithin(Scope scope, const project::PreparedExperiment& experiment) {
  return scope == Scope::all || experiment.isHoldout() == (scope == Scope::onlyHoldouts);
}

}  // namespace

std::vector<Membership> eligibleExperiments(const project::PreparedProject& project, Scope scope,
                                            placement::Resolver::Report& report) {
  std::vector<Membership> memberships;
  for (const project::PreparedExperiment& experiment : project.experiments()) {
    const placement::Placement& placement = report.resolve(experiment);
    if (placement.group && isWithin(scope, experiment)) {
      memberships.push_back({&experiment, placement});
    }
  }
  return memberships;
}

std::optional<std::string> membershipText(const std::vector<Membership>& memberships) {
  if (memberships.empty()) return std::nullopt;
  std::string text;
  for (const auto& [experiment, placement] : memberships) {
    if (!text.empty()) text += '|';
    text.append(experiment->record->name.view())
        .append(1, '.')
        .append(std::to_string(placement.index));
  }
  return text;
}

std::vector<CorvoExperimentPointer> experimentHandles(
    const std::shared_ptr<const project::PreparedProject>& project,
    const std::vector<Membership>& memberships, const targeting::Context& context) {
  std::vector<CorvoExperimentPointer> handles;
  handles.reserve(memberships.size());
  for (const auto& [experiment, placement] : memberships) {
    handles.push_back(
        std::make_shared<CorvoExperimentImpl>(project, *experiment, placement, context));
  }
  return handles;
}

}  // namespace corvo::corvo_internal::experiments
