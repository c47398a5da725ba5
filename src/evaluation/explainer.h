// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/explanation.h>

#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "evaluation/explanation_facts.h"
#include "flags/observer.h"
#include "model/config.h"
#include "placement/placement.h"
#include "project/prepared_project.h"
#include "targeting/context.h"

namespace corvo::corvo_internal::evaluation {

/// Records the events of a decision as steps. The context, and the records that events refer to,
/// must outlive it. For one question.
class Explainer final : public flags::Observer {
 public:
  using Code = Explanation::Code;
  using Outcome = Explanation::Outcome;

  Explainer(const project::PreparedProject& project, const targeting::Context& context)
      : project_(project), context_(context), open_(1) {}
  ~Explainer() = default;

  // Events of the question itself.
  void flagLookedUp(const project::FlagEntry* entry);
  void experimentBegun(const project::PreparedExperiment& experiment);
  void experimentDecided(const placement::Placement& placement);
  void experimentNotReached(const project::PreparedExperiment& experiment);
  void experimentNotFound();
  void valueFound(std::string_view text);

  void on(const targeting::ConditionTested& event) override;
  void on(const targeting::RuleBegun& event) override;
  void on(const targeting::RuleDecided& event) override;
  void on(const placement::SplitIdentified& event) override;
  void on(const placement::HoldoutBegun& event) override;
  void on(const placement::HoldoutRemembered& event) override;
  void on(const placement::HoldoutDecided& event) override;
  void on(const placement::GroupsForced& event) override;
  void on(const placement::ExperimentForced& event) override;
  void on(const placement::LayerBegun& event) override;
  void on(const placement::IntervalTested& event) override;
  void on(const placement::LayerDecided& event) override;
  void on(const placement::Hashed& event) override;
  void on(const placement::AllocationTested& event) override;
  void on(const placement::WeightsBegun& event) override;
  void on(const placement::WeightTested& event) override;
  void on(const placement::WeightsDecided& event) override;
  void on(const placement::TargetsBegun& event) override;
  void on(const placement::TargetsDecided& event) override;
  void on(const flags::CarrierBegun& event) override;
  void on(const flags::CarrierDecided& event) override;
  void on(const flags::GroupMatched& event) override;
  void on(const flags::RulesBegun& event) override;
  void on(const flags::RulesDecided& event) override;

  /// The recorded steps.
  [[nodiscard]] std::vector<Explanation::Step> take() { return std::move(open_.front().steps); }

 private:
  using Step = Explanation::Step;

  void begin(Code code, Facts facts);
  void end(Outcome outcome);
  void add(Code code, Outcome outcome, Facts facts = {});
  [[nodiscard]] Step& current() { return open_.back(); }
  // The parts of the current step that follow those already recorded.
  template <class Parts>
  void notReached(Code code, Parts parts);

  const project::PreparedProject& project_;
  const targeting::Context& context_;
  std::vector<Step> open_;  // steps under way, each inside the one before
  // The experiment in question (not one of its holdouts), and the parts of the step under way. The
  // parts are reported one by one, in order; no other step with such parts comes in between.
  struct RuleAt {
    const model::Rule* rule;
    std::size_t position;
  };
  const project::PreparedExperiment* asked_ = nullptr;
  std::vector<RuleAt> rules_;  // in the order in which they are tried
  std::span<const model::Condition> conditions_;
  std::span<const model::LayerBounds> bounds_;
  std::span<const model::Group> groups_;
};

}  // namespace corvo::corvo_internal::evaluation
