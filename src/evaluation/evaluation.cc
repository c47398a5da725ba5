#include <corvo/evaluation.h>

#include <utility>

#include "base/text.h"
#include "evaluation/evaluator.h"
#include "evaluation/project_state.h"
#include "experiments/memberships.h"
#include "model/well_formed.h"
#include "platform/system.h"
#include "targeting/context_source.h"

namespace corvo {

using namespace corvo_internal;
using experiments::Scope;

namespace {

std::optional<std::string> wellFormed(const std::optional<std::string>& text) {
  return text ? std::optional(base::wellFormed(*text)) : std::nullopt;
}

DeviceFacts wellFormed(const DeviceFacts& facts) {
  return {wellFormed(facts.applicationVersion), wellFormed(facts.vendorIdentifier),
          wellFormed(facts.systemName), wellFormed(facts.systemVersion)};
}

PropertyMap asProperties(const PropertyMap& location) {
  PropertyMap properties;
  for (const auto& [name, value] : location) {
    properties.emplace("geo." + base::wellFormed(name), base::wellFormed(value));
  }
  return properties;
}

std::shared_ptr<const TimeZone> zoneOf(const EvaluationContext& context) {
  return context.timeZone ? context.timeZone : platform::systemTimeZone();
}

Scope scopeWith(ExactBool estimateHoldouts) {
  return estimateHoldouts.value ? Scope::all : Scope::withoutHoldouts;
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

  void goOnWith(const EvaluationContext& context);
  [[nodiscard]] targeting::Context context() { return source.at(now); }

  evaluation::Evaluator evaluator;
  std::shared_ptr<const TimeZone> zone;
  DeviceFacts device;
  PropertyMap location;    // the location, and
  PropertyMap properties;  // what conditions see of it
  double now = 0;
  // Where what was given is ill-formed: what takes its place.
  CorvoUser user;
  model::WellFormedProperties lasting;
  targeting::ContextSource source;
};

void Evaluation::State::goOnWith(const EvaluationContext& context) {
  if (context.user == nullptr) {
    source.setUser(lasting.of(context.properties));
  } else if (model::isWellFormed(*context.user)) {
    source.setUser(*context.user);
  } else {
    user = model::wellFormed(*context.user);
    source.setUser(user);
  }
  if (location != context.location) {
    properties = asProperties(context.location);
    source.setLocation(properties);
    location = context.location;
  }
  if (device != context.device) {
    source.setDevice(wellFormed(context.device));
    device = context.device;
  }
  now = context.now ? *context.now : platform::systemClock()->now();
}

Evaluation::Evaluation(const Project& project, const EvaluationContext& context)
    : state_(std::make_unique<State>(project.state_->prepared, zoneOf(context))) {
  state_->goOnWith(context);
}

Evaluation::Evaluation(Evaluation&&) noexcept = default;
Evaluation& Evaluation::operator=(Evaluation&&) noexcept = default;
Evaluation::~Evaluation() = default;

void Evaluation::reset(const EvaluationContext& context) {
  if (const auto zone = zoneOf(context); zone != state_->zone) {
    state_ = std::make_unique<State>(state_->evaluator.project(), zone);
  }
  state_->goOnWith(context);
}

Result<std::string_view> Evaluation::flagText(std::string_view flagName) {
  return state_->evaluator.flag(base::WellFormed(flagName), state_->context());
}

Result<FlagReport> Evaluation::getUserFeatureFlagsDetails() {
  return state_->evaluator.flags(state_->context());
}

Result<std::vector<CorvoExperimentPointer>> Evaluation::getAllUserExperiments() {
  return state_->evaluator.experiments(state_->context());
}

Result<std::optional<std::string>> Evaluation::getAllUserExperimentsText(
    ExactBool estimateHoldouts) {
  return state_->evaluator.experimentsText(scopeWith(estimateHoldouts), state_->context());
}

Result<CorvoExperimentPointer> Evaluation::getExperiment(std::string_view name) {
  return state_->evaluator.experiment(base::WellFormed(name), state_->context());
}

Result<bool> Evaluation::getHoldout(std::string_view name) {
  return state_->evaluator.holdout(base::WellFormed(name), state_->context());
}

Result<std::optional<std::string>> Evaluation::getAllUserHoldouts() {
  return state_->evaluator.experimentsText(Scope::onlyHoldouts, state_->context());
}

Result<std::vector<CorvoExperimentDetail>> Evaluation::getUserExperimentsDetails(
    ExactBool estimateHoldouts) {
  return state_->evaluator.details(scopeWith(estimateHoldouts), state_->context());
}

}  // namespace corvo
