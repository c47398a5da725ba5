// SPDX-License-Identifier: Apache-2.0

#include "experiments/experiment_impl.h"

#include <algorithm>
#include <utility>

#include "base/text.h"
#include "experiments/param_value.h"

namespace corvo::corvo_internal::experiments {

CorvoExperimentImpl::CorvoExperimentImpl(std::shared_ptr<const project::PreparedProject> project,
                                         const project::PreparedExperiment& experiment,
                                         const placement::Placement& placement,
                                         const targeting::Context& context)
    : project_(std::move(project)),
      experiment_(experiment),
      userGroup_(placement.group),
      groupIndex_(placement.index) {
  if (userGroup_) flags::decideFlags(experiment, *userGroup_, context, decisions_);
}

std::optional<std::int64_t> CorvoExperimentImpl::groupIndex() const {
  return userGroup_ ? std::optional<std::int64_t>(groupIndex_) : std::nullopt;
}

std::optional<std::string> CorvoExperimentImpl::userGroupName() const {
  return userGroup_ ? std::optional<std::string>(userGroup_->name) : std::nullopt;
}

// If two parameters have one name, only the first counts, even if it has no value for the group.
std::optional<std::string_view> CorvoExperimentImpl::paramText(std::string_view name) const {
  if (userGroup_ == nullptr) return std::nullopt;
  const model::List<model::Param> params = experiment_.record->params;
  const base::WellFormed wanted(name);
  const auto param = std::ranges::find(params, std::string_view(wanted), &model::Param::name);
  if (param == params.end()) return std::nullopt;
  const model::Text* text = paramValue(*param, *userGroup_);
  return text ? std::optional<std::string_view>(*text) : std::nullopt;
}

Result<std::optional<std::string_view>> CorvoExperimentImpl::featureText(
    std::string_view flagName) const {
  const base::WellFormed name(flagName);
  const auto found = std::ranges::find(
      decisions_, std::string_view(name),
      [](const auto& decision) { return std::string_view(decision.carried->record->name); });
  if (found == decisions_.end()) return std::optional<std::string_view>();
  if (found->rule == nullptr) {
    return flags::failureOf<std::optional<std::string_view>>(*found, name);
  }
  return std::optional<std::string_view>(found->rule->value);
}

}  // namespace corvo::corvo_internal::experiments
