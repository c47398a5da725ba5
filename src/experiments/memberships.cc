// SPDX-License-Identifier: Apache-2.0

#include "experiments/memberships.h"

#include <array>
#include <charconv>
#include <limits>
#include <string_view>

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
  memberships.reserve(project.experiments().size());
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
  std::size_t size = 0;
  for (const auto& [experiment, placement] : memberships) {
    size += experiment->record->name.view().size() + std::string_view(".4294967295|").size();
  }
  std::string text;
  text.reserve(size);
  for (const auto& [experiment, placement] : memberships) {
    if (!text.empty()) text += '|';
    text.append(experiment->record->name.view()) += '.';
    std::array<char, std::numeric_limits<std::uint32_t>::digits10 + 1> digits;
    const auto written =
        std::to_chars(digits.data(), digits.data() + digits.size(), placement.index);
    text.append(digits.data(), written.ptr);
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
