#include "experiments/forced_inclusion.h"

#include <algorithm>
#include <string>

#include "placement/split_identifier.h"

namespace corvo::corvo_internal::experiments {
namespace {

bool isGroupOf(const model::Experiment& experiment, std::int64_t index) {
  return index >= 0 && static_cast<std::uint64_t>(index) < experiment.groups.size();
}

}  // namespace

std::variant<std::size_t, CorvoError> findToForceInto(
    const std::vector<model::Experiment>& experiments, std::string_view name) {
  if (experiments.empty()) return CorvoError(CorvoError::ExperimentsEmpty{});
  const auto found = std::ranges::find(experiments, name, &model::Experiment::name);
  if (found == experiments.end()) {
    return CorvoError(CorvoError::ExperimentNotFound{std::string(name)});
  }
  return static_cast<std::size_t>(found - experiments.begin());
}

std::variant<model::Experiment, CorvoError> applyForcedInclusion(
    const model::Experiment& experiment, std::optional<std::int64_t> groupIndex,
    const targeting::Context& context) {
  const auto splitId = placement::splitIdentifier(experiment.splitMode, context);
  if (!splitId) {
    return CorvoError(CorvoError::ExperimentSplitIdNotFound{experiment.name});
  }
  if (groupIndex && !isGroupOf(experiment, *groupIndex)) {
    return CorvoError(CorvoError::ExperimentGroupIndexNotFound{experiment.name, *groupIndex});
  }
  model::Experiment edited = experiment;
  std::erase(edited.forcedUserList, *splitId);
  for (model::Group& group : edited.groups) std::erase(group.forcedUserList, *splitId);
  auto& list = groupIndex ? edited.groups[static_cast<std::size_t>(*groupIndex)].forcedUserList
                          : edited.forcedUserList;
  list.emplace_back(*splitId);
  return edited;
}

}  // namespace corvo::corvo_internal::experiments
