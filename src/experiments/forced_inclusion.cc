// SPDX-License-Identifier: Apache-2.0

#include "experiments/forced_inclusion.h"

#include <algorithm>
#include <memory>
#include <string>

#include "placement/split_identifier.h"

namespace corvo::corvo_internal::experiments {
namespace {

// Builds the lists of an experiment that a user is forced into. All texts are copied, because the
// lists of an earlier inclusion are destroyed with the experiment that owned them.
class ForcedInclusion {
 public:
  explicit ForcedInclusion(std::string_view splitId) : splitId_(splitId) {}

  model::Experiment applied(const model::Experiment& experiment,
                            std::optional<std::int64_t> groupIndex) {
    model::Experiment edited = experiment;
    edited.forcedUserList = listWith(experiment.forcedUserList, !groupIndex);
    std::vector<model::Group> groups(experiment.groups.begin(), experiment.groups.end());
    for (std::int64_t index = 0; model::Group & group : groups) {
      group.forcedUserList = listWith(group.forcedUserList, index++ == groupIndex);
    }
    edited.groups = pool_->list(groups);
    edited.own = {pool_};
    return edited;
  }

 private:
  model::List<model::Text> listWith(model::List<model::Text> list, bool isIncluded) {
    std::vector<model::Text> texts;
    for (const model::Text text : list) {
      if (text != splitId_) texts.push_back(pool_->text(text));
    }
    if (isIncluded) texts.push_back(pool_->text(splitId_));
    return pool_->list(texts);
  }

  std::string_view splitId_;
  std::shared_ptr<base::Pool> pool_ = std::make_shared<base::Pool>();
};

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
    return CorvoError(CorvoError::ExperimentSplitIdNotFound{std::string(experiment.name)});
  }
  if (groupIndex && !isGroupOf(experiment, *groupIndex)) {
    return CorvoError(
        CorvoError::ExperimentGroupIndexNotFound{std::string(experiment.name), *groupIndex});
  }
  return ForcedInclusion(*splitId).applied(experiment, groupIndex);
}

}  // namespace corvo::corvo_internal::experiments
