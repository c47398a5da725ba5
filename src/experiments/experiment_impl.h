#pragma once

#include <corvo/experiment.h>

#include <memory>
#include <vector>

#include "flags/flag_decision.h"
#include "placement/placement.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::experiments {

/// The one implementation of `CorvoExperiment`. The flags that the experiment carries are decided
/// when the handle is made: so it needs neither the properties of that moment nor a clock or a time
/// zone later. Keeps the project alive.
class CorvoExperimentImpl final : public CorvoExperiment {
 public:
  /// The experiment is one of the project's.
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
      decisions_;  // of the carried flags, by position; none without a group
};

}  // namespace corvo::corvo_internal::experiments
