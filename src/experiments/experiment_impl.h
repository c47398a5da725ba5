// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/experiment.h>

#include <memory>
#include <vector>

#include "flags/flag_decision.h"
#include "placement/placement.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::experiments {

/// The only implementation of `CorvoExperiment`. The carried flags are decided when the handle is
/// created, so it needs no properties, clock or time zone later. Keeps the project alive.
class CorvoExperimentImpl final : public CorvoExperiment {
 public:
  /// The experiment must belong to the project.
  CorvoExperimentImpl(std::shared_ptr<const project::PreparedProject> project,
                      const project::PreparedExperiment& experiment,
                      const placement::Placement& placement, const targeting::Context& context);

  [[nodiscard]] std::optional<std::int64_t> groupIndex() const override;
  [[nodiscard]] std::string name() const override { return std::string(experiment_.record->name); }
  [[nodiscard]] std::optional<std::string> userGroupName() const override;
  [[nodiscard]] std::optional<std::string_view> paramText(std::string_view name) const override;
  [[nodiscard]] Result<std::optional<std::string_view>> featureText(
      std::string_view flagName) const override;

 private:
  std::shared_ptr<const project::PreparedProject> project_;
  const project::PreparedExperiment& experiment_;
  const model::Group* userGroup_;
  std::uint32_t groupIndex_;
  std::vector<flags::FlagDecision>
      decisions_;  // of the carried flags, by position; empty without a group
};

}  // namespace corvo::corvo_internal::experiments
