#include "client/forced_inclusions.h"

#include <string>
#include <utility>

#include "experiments/forced_inclusion.h"

namespace corvo::client {

std::optional<CorvoError> ForcedInclusions::include(model::ConfigResponse& config,
                                                    std::string_view experimentName,
                                                    std::optional<std::int64_t> groupIndex) {
  if (auto error = force(config, experimentName, groupIndex)) return error;
  const auto& remembered = parts_.storage->corvoForcedExperiments.read();
  model::ForcedExperiments forced = remembered ? *remembered : model::ForcedExperiments();
  forced.insert_or_assign(std::string(experimentName), groupIndex);
  store(std::move(forced));
  return std::nullopt;
}

// Each inclusion that succeeds is remembered anew, so one that succeeds leads to a write.
void ForcedInclusions::reapply(model::ConfigResponse& config) {
  const auto remembered = parts_.storage->corvoForcedExperiments.read();
  if (!remembered) return;
  bool anyForced = false;
  for (const auto& [name, groupIndex] : *remembered) {
    if (!force(config, name, groupIndex)) anyForced = true;
  }
  if (anyForced) store(*remembered);
}

// The user is looked for, and where there is none an empty one stored, only once the experiment is
// found.
std::optional<CorvoError> ForcedInclusions::force(model::ConfigResponse& config,
                                                  std::string_view experimentName,
                                                  std::optional<std::int64_t> groupIndex) {
  auto found = experiments::findToForceInto(config.experiments, experimentName);
  if (auto* error = std::get_if<CorvoError>(&found)) return std::move(*error);
  return experiments::applyForcedInclusion(*std::get<model::Experiment*>(found), groupIndex,
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
  store(std::move(forced));
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

void ForcedInclusions::store(model::ForcedExperiments forced) {
  parts_.storage->corvoForcedExperiments.write(
      std::make_shared<const model::ForcedExperiments>(std::move(forced)), parts_.clock->now());
}

}  // namespace corvo::client
