// SPDX-License-Identifier: Apache-2.0

#include "client/forced_inclusions.h"

#include <string>
#include <utility>

#include "experiments/forced_inclusion.h"

namespace corvo::corvo_internal::client {

std::optional<CorvoError> ForcedInclusions::include(const model::ConfigResponse& config,
                                                    std::string_view experimentName,
                                                    std::optional<std::int64_t> groupIndex) {
  const auto found = experiments::findToForceInto(config.experiments, experimentName);
  if (const auto* error = std::get_if<CorvoError>(&found)) return *error;
  const std::size_t position = std::get<std::size_t>(found);
  auto edited = force(config.experiments[position], groupIndex);
  if (auto* error = std::get_if<CorvoError>(&edited)) return std::move(*error);

  const auto& remembered = parts_.storage->corvoForcedExperiments.read();
  model::ForcedExperiments forced = remembered ? *remembered : model::ForcedExperiments();
  forced.insert_or_assign(std::string(experimentName), groupIndex);
  auto changed = std::make_shared<model::ConfigResponse>(config);
  changed->experiments[position] = std::get<model::Experiment>(std::move(edited));

  // Both are prepared first, so that neither is written without the other.
  const double now = parts_.clock->now();
  auto inclusions = prepared(std::move(forced), now);
  auto document = parts_.storage->config.prepare(std::move(changed), now);
  parts_.storage->corvoForcedExperiments.write(std::move(inclusions), storage::Origin::edit);
  parts_.storage->config.write(std::move(document));
  return std::nullopt;
}

// Each successful inclusion is recorded again, so it leads to a write.
void ForcedInclusions::reapply(model::ConfigResponse& config) {
  const auto remembered = parts_.storage->corvoForcedExperiments.read();
  if (!remembered) return;
  model::ForcedExperiments left = *remembered;
  bool anyForced = false;
  for (model::Experiment& experiment : config.experiments) {
    const auto found = left.find(experiment.name.view());
    if (found == left.end()) continue;
    auto edited = force(experiment, found->second);
    left.erase(found);  // only the first experiment of a name counts
    if (std::holds_alternative<CorvoError>(edited)) continue;
    experiment = std::get<model::Experiment>(std::move(edited));
    anyForced = true;
  }
  if (anyForced) remember(*remembered);
}

// The user is read, and an empty one stored if there is none, only after the experiment is found.
std::variant<model::Experiment, CorvoError> ForcedInclusions::force(
    const model::Experiment& experiment, std::optional<std::int64_t> groupIndex) {
  return experiments::applyForcedInclusion(experiment, groupIndex,
                                           parts_.contexts->ofUser(parts_.clock->now()));
}

std::optional<CorvoError> ForcedInclusions::forget(std::string_view experimentName) {
  const auto& remembered = parts_.storage->corvoForcedExperiments.read();
  if (!remembered) return CorvoError(CorvoError::NoForceIncludedExperiments{});
  model::ForcedExperiments forced = *remembered;
  const auto found = forced.find(experimentName);
  if (found == forced.end()) {
    return CorvoError(CorvoError::ExperimentNotFound{std::string(experimentName)});
  }
  forced.erase(found);
  remember(std::move(forced));
  return std::nullopt;
}

std::variant<bool, CorvoError> ForcedInclusions::forgetAll() {
  auto& slot = parts_.storage->corvoForcedExperiments;
  const auto& remembered = slot.read();
  if (!remembered) return CorvoError(CorvoError::NoForceIncludedExperiments{});
  if (remembered->empty()) return false;
  slot.write(nullptr, parts_.clock->now());
  return true;
}

void ForcedInclusions::remember(model::ForcedExperiments forced) {
  parts_.storage->corvoForcedExperiments.write(prepared(std::move(forced), parts_.clock->now()),
                                               storage::Origin::edit);
}

ForcedInclusions::Slot::Prepared ForcedInclusions::prepared(model::ForcedExperiments forced,
                                                            double now) const {
  return parts_.storage->corvoForcedExperiments.prepare(
      std::make_shared<const model::ForcedExperiments>(std::move(forced)), now);
}

}  // namespace corvo::corvo_internal::client
