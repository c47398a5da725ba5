#include "evaluation/evaluator.h"

#include <corvo/property.h>

#include "experiments/details.h"
#include "experiments/experiment_impl.h"
#include "flags/flag_decision.h"

namespace corvo::corvo_internal::evaluation {
namespace {

using experiments::Scope;
using placement::Placement;
using project::PreparedExperiment;
using targeting::Context;

// Fails as a document that could not be decoded does.
CorvoError tooManyRepeatedValues() {
  return CorvoError(CorvoError::RequestConfigFailed{CorvoNetworkError(
      CorvoNetworkError::DecodingError{"the values of repeated names take more than 64 MiB"})});
}
static_assert(experiments::kMostRepeatedBytes == std::size_t{64} << 20);

}  // namespace

Result<std::string_view> Evaluator::flag(std::string_view name, const Context& context) {
  const flags::FlagDecision decision =
      flags::decideFlag(project_->findFlag(name), resolver_, context);
  if (decision.value != nullptr) return std::string_view(*decision.value);
  return flags::errorOf(decision, name);
}

FlagReport Evaluator::flags(const Context& context) {
  FlagReport report;
  report.reserve(project_->config().featureFlags.size());
  placement::Resolver::Report resolved(resolver_, context);
  for (const project::FlagEntry& entry : project_->flags()) {
    if (entry.record == nullptr) continue;
    const flags::FlagDecision decision = flags::decideFlag(entry, resolved, context);
    if (decision.value) report.emplace(entry.name, typedProperty(*decision.value));
  }
  return report;
}

Result<CorvoExperimentPointer> Evaluator::experiment(std::string_view name,
                                                     const Context& context) {
  const PreparedExperiment* each = project_->findExperiment(name);
  if (each == nullptr) return CorvoError(CorvoError::ExperimentNotFound{std::string(name)});
  // Several of one name may name the same holdouts: then each of these is resolved once, at the
  // price of a memory for the whole project.
  std::optional<placement::Resolver::Report> several;
  if (each->nextOfName != nullptr) several.emplace(resolver_, context);
  for (; each != nullptr; each = each->nextOfName) {
    const Placement placement =
        several ? several->resolve(*each) : resolver_.resolve(*each, context);
    if (placement.group == nullptr) continue;
    return std::make_shared<const experiments::CorvoExperimentImpl>(project_, *each, placement,
                                                                    context);
  }
  return nullptr;
}

// The holdouts that a holdout itself names do not count here, though they do in the list of all.
Result<bool> Evaluator::holdout(std::string_view name, const Context& context) {
  const PreparedExperiment* holdout = project_->findHoldout(name);
  if (holdout == nullptr) return CorvoError(CorvoError::HoldoutNotFound{std::string(name)});
  return resolver_.resolveIgnoringHoldouts(*holdout, context).group != nullptr;
}

std::vector<CorvoExperimentPointer> Evaluator::experiments(const Context& context) {
  return experiments::experimentHandles(project_, memberships(Scope::all, context), context);
}

std::optional<std::string> Evaluator::experimentsText(Scope scope, const Context& context) {
  return experiments::membershipText(memberships(scope, context));
}

Result<std::vector<CorvoExperimentDetail>> Evaluator::details(Scope scope, const Context& context) {
  auto details = experiments::experimentDetails(memberships(scope, context), context);
  if (!details) return tooManyRepeatedValues();
  return *std::move(details);
}

std::vector<experiments::Membership> Evaluator::memberships(Scope scope, const Context& context) {
  placement::Resolver::Report resolved(resolver_, context);
  return experiments::eligibleExperiments(*project_, scope, resolved);
}

}  // namespace corvo::corvo_internal::evaluation
