// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>

#include <span>
#include <utility>
#include <vector>

#include "base/text.h"
#include "evaluation/evaluator.h"
#include "evaluation/project_state.h"
#include "experiments/memberships.h"
#include "model/well_formed.h"
#include "platform/system.h"
#include "targeting/context_source.h"
#include "targeting/location_properties.h"

namespace corvo {

using namespace corvo_internal;
using experiments::Scope;

namespace {

DeviceFacts wellFormed(const DeviceFacts& facts) {
  return {base::wellFormedIfAny(facts.applicationVersion),
          base::wellFormedIfAny(facts.vendorIdentifier), base::wellFormedIfAny(facts.systemName),
          base::wellFormedIfAny(facts.systemVersion)};
}

// Avoids counting references when the zone stays the same.
const std::shared_ptr<const TimeZone>& zoneOf(const EvaluationContext& context) {
  static const std::shared_ptr<const TimeZone> system = platform::systemTimeZone();
  return context.timeZone ? context.timeZone : system;
}

double momentOf(const EvaluationContext& context) {
  static const std::shared_ptr<const Clock> system = platform::systemClock();
  return context.now ? *context.now : system->now();
}

}  // namespace

struct Evaluation::State {
  State(std::shared_ptr<const project::PreparedProject> project,
        std::shared_ptr<const TimeZone> timeZone)
      : evaluator(std::move(project)), zone(std::move(timeZone)), source(*zone) {
    source.setNames(evaluator.project()->propertyNames());
    source.setLocation(properties);
    source.setDevice(device);
  }

  void forgetUser() { source.setUser(std::span<const targeting::LastingProperty>()); }
  void switchTo(const EvaluationContext& context);
  [[nodiscard]] targeting::Context context() { return source.at(now); }

  evaluation::Evaluator evaluator;
  std::shared_ptr<const TimeZone> zone;
  DeviceFacts device;
  PropertyMap location;    // the location, and
  PropertyMap properties;  // its properties as conditions see them
  double now = 0;
  CorvoUser user;  // replaces an ill-formed user
  std::vector<FlagText> texts;
  std::vector<FlagDecision> decisions;
  std::vector<Membership> memberships;
  std::vector<Placement> placements;
  targeting::ContextSource source;
};

// Sets the user last, so that there is none if anything throws.
void Evaluation::State::switchTo(const EvaluationContext& context) {
  if (location != context.location) {
    PropertyMap given = context.location;
    properties = targeting::locationProperties(given);
    source.setLocation(properties);
    location = std::move(given);
  }
  if (device != context.device) {
    DeviceFacts given = context.device;
    source.setDevice(wellFormed(given));
    device = std::move(given);
  }
  now = momentOf(context);
  if (context.user == nullptr) {
    source.setUser(context.properties);
  } else if (model::readsAsWellFormed(*context.user)) {
    source.setUser(*context.user);
  } else {
    user = model::wellFormed(*context.user);
    source.setUser(user);
  }
}

Evaluation::Evaluation(const Project& project, const EvaluationContext& context)
    : state_(std::make_unique<State>(project.state_->prepared, zoneOf(context))) {
  state_->switchTo(context);
}

Evaluation::Evaluation(Evaluation&&) noexcept = default;
Evaluation& Evaluation::operator=(Evaluation&&) noexcept = default;
Evaluation::~Evaluation() = default;

// If anything throws, the evaluation has no user and refers to nothing that may have been
// destroyed.
void Evaluation::reset(const EvaluationContext& context) {
  state_->forgetUser();
  if (const auto& zone = zoneOf(context); zone != state_->zone) {
    state_ = std::make_unique<State>(state_->evaluator.project(), zone);
  }
  state_->switchTo(context);
}

Result<std::string_view> Evaluation::flagText(std::string_view flagName) {
  return state_->evaluator.flag(flagName, state_->context());
}

Result<FlagReport> Evaluation::getUserFeatureFlagsDetails() {
  return state_->evaluator.flags(state_->context());
}

Result<std::vector<CorvoExperimentPointer>> Evaluation::getAllUserExperiments() {
  return state_->evaluator.experiments(state_->context());
}

Result<std::optional<std::string>> Evaluation::getAllUserExperimentsText(
    ExactBool estimateHoldouts) {
  return state_->evaluator.experimentsText(experiments::scopeWith(estimateHoldouts.value),
                                           state_->context());
}

Result<CorvoExperimentPointer> Evaluation::getExperiment(std::string_view name) {
  return state_->evaluator.experiment(name, state_->context());
}

Result<bool> Evaluation::getHoldout(std::string_view name) {
  return state_->evaluator.holdout(name, state_->context());
}

Result<std::optional<std::string>> Evaluation::getAllUserHoldouts() {
  return state_->evaluator.experimentsText(Scope::onlyHoldouts, state_->context());
}

Result<std::vector<CorvoExperimentDetail>> Evaluation::getUserExperimentsDetails(
    ExactBool estimateHoldouts) {
  return state_->evaluator.details(experiments::scopeWith(estimateHoldouts.value),
                                   state_->context());
}

std::span<const Evaluation::FlagText> Evaluation::flagTexts(std::span<const std::size_t> flags) {
  state_->evaluator.flagTexts(flags, state_->context(), state_->texts);
  return state_->texts;
}

std::span<const Evaluation::FlagDecision> Evaluation::flagDecisions(
    std::span<const std::size_t> flags) {
  state_->evaluator.flagDecisions(flags, state_->context(), state_->decisions);
  return state_->decisions;
}

std::span<const Evaluation::Membership> Evaluation::memberships(
    std::span<const std::size_t> experiments) {
  state_->evaluator.memberships(experiments, state_->context(), state_->memberships);
  return state_->memberships;
}

std::span<const Evaluation::Placement> Evaluation::placements(
    std::span<const std::size_t> experiments) {
  state_->evaluator.placements(experiments, state_->context(), state_->placements);
  return state_->placements;
}

Explanation Evaluation::explainFlag(std::string_view flagName) {
  return state_->evaluator.explainFlag(flagName, state_->context());
}

Explanation Evaluation::explainExperiment(std::string_view name) {
  return state_->evaluator.explainExperiment(name, state_->context());
}

}  // namespace corvo
