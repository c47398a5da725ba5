// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation.h>
#include <corvo/project.h>

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <utility>
#include <variant>

#include "evaluation/drops.h"
#include "evaluation/project_state.h"
#include "experiments/details.h"
#include "json/json_places.h"
#include "model/codec.h"
#include "model/config.h"
#include "model/fields.h"
#include "placement/bucketing.h"
#include "placement/hash_counts.h"
#include "project/platform_filter.h"

namespace corvo {

using namespace corvo_internal;

namespace {

// Invalid JSON fails where parsing stopped; any other failure is at a value.
std::size_t offsetOf(const model::DecodingFailure& failure, std::string_view text) {
  const json::JsonPlaces places = json::jsonPlaces(text);
  if (failure.node) return places.nodes.at(*failure.node);
  return places.fault ? places.fault->place : 0;
}

CorvoError unreadable(const model::DecodingFailure& failure, std::string_view text) {
  return CorvoError(CorvoError::RequestConfigFailed{CorvoNetworkError(
      CorvoNetworkError::DecodingError{failure.description(), offsetOf(failure, text)})});
}

std::size_t countOf(const model::ConfigResponse& config) {
  return config.featureFlags.size() + config.experiments.size();
}

template <class Record>
std::vector<std::string> namesOf(model::List<Record> records) {
  std::vector<std::string> names;
  names.reserve(records.size());
  for (const Record& each : records) names.emplace_back(each.name);
  return names;
}

std::optional<std::string> textIfAny(std::optional<model::Text> text) {
  return text ? std::optional<std::string>(*text) : std::nullopt;
}

Project::Experiment described(const model::Experiment& record, std::size_t position) {
  Project::Experiment experiment{
      .name = std::string(record.name),
      .type = std::nullopt,
      .splitBy = std::string(model::textOf(record.splitMode.value_or(model::SplitMode::userId))),
      .allocation = record.allocation,
      .layer = textIfAny(record.layerId),
      .groups = {},
      .flags = namesOf(record.featureFlags),
      .params = namesOf(record.params),
      .holdouts = {record.holdouts.begin(), record.holdouts.end()},
      .isPrivate = record.isPrivate.value_or(false),
      .position = position};
  if (record.type) experiment.type = experiments::wordOf(*record.type);
  for (const model::Group& group : record.groups) {
    experiment.groups.push_back({std::string(group.name), textIfAny(group.label), group.weight});
  }
  return experiment;
}

std::vector<Project::Experiment> described(const project::PreparedProject& project,
                                           bool areHoldouts) {
  std::vector<Project::Experiment> list;
  for (const project::PreparedExperiment& each : project.experiments()) {
    const auto position = static_cast<std::size_t>(&each - project.experiments().data());
    if (each.isHoldout() == areHoldouts) list.push_back(described(*each.record, position));
  }
  return list;
}

bool isStop(const project::PreparedExperiment& experiment) {
  return std::ranges::any_of(experiment.record->layerBounds, placement::isInverted);
}

double fraction(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0 : static_cast<double>(part) / static_cast<double>(whole);
}

// Whether a holdout, or its layer, uses the hash that decides the experiment's group.
bool usesHashOf(const model::Experiment& experiment, const model::Experiment& holdout) {
  const auto modeOf = [](const model::Experiment& each) {
    return each.splitMode.value_or(model::SplitMode::userId);
  };
  if (modeOf(holdout) != modeOf(experiment)) return false;
  if (holdout.salt == experiment.salt) return true;
  return !holdout.layerBounds.empty() && placement::layerSalt(holdout) == experiment.salt.view();
}

}  // namespace

Project::Project(std::shared_ptr<const State> state) : state_(std::move(state)) {}

Result<Project> Project::decode(std::string_view text, Filter filter) {
  State state{.filter = filter};
  std::vector<model::Drop> drops;
  auto decoded = model::decodeConfig(text, drops);
  if (const auto* failure = std::get_if<model::DecodingFailure>(&decoded)) {
    return unreadable(*failure, text);
  }
  auto& config = std::get<model::ConfigResponse>(decoded);
  const std::size_t decodedCount = countOf(config);
  if (filter == Filter::client) project::filterByPlatform(config);
  if (!drops.empty() || countOf(config) != decodedCount) state.text = text;
  state.prepared = std::make_shared<const project::PreparedProject>(
      std::make_shared<const model::ConfigResponse>(std::move(config)));
  return Project(std::make_shared<const State>(std::move(state)));
}

Evaluation Project::evaluate(const EvaluationContext& context) const { return {*this, context}; }

std::vector<Project::Drop> Project::drops() const {
  if (state_->text.empty()) return {};
  return evaluation::dropsOf(state_->text, state_->filter);
}

std::vector<std::string> Project::properties() const {
  const std::vector<std::string_view>& names = state_->prepared->propertyNames().list();
  return {names.begin(), names.end()};
}

std::vector<Project::Flag> Project::flags() const {
  std::vector<Flag> flags;
  for (const project::FlagEntry& entry : state_->prepared->flags()) {
    Flag& flag = flags.emplace_back(
        Flag{.name = std::string(entry.name), .type = "", .isPrivate = entry.isPrivate});
    flag.isOnlyCarried = entry.record == nullptr;
    if (entry.carried != nullptr) {
      flag.carriedBy = entry.carried->carrier->record->name;
      flag.type = entry.carried->record->type;
    }
    if (entry.record != nullptr) flag.type = entry.record->type;
  }
  return flags;
}

std::vector<Project::Experiment> Project::experiments() const {
  return described(*state_->prepared, false);
}

std::vector<Project::Experiment> Project::holdouts() const {
  return described(*state_->prepared, true);
}

std::optional<Project::Shares> Project::shares(std::size_t experiment) const {
  const std::vector<project::PreparedExperiment>& all = state_->prepared->experiments();
  if (experiment >= all.size() || isStop(all[experiment])) return std::nullopt;
  const auto counts = placement::countHashes(*all[experiment].record);
  const std::uint64_t covered =
      std::accumulate(counts.groups.begin(), counts.groups.end(), std::uint64_t{0});
  Shares shares{.layer = fraction(counts.insideLayer, placement::HashCounts::kAll),
                .allocation = fraction(counts.insideAllocation, counts.eligible),
                .covered = fraction(covered, counts.insideAllocation),
                .groups = {}};
  for (const std::uint64_t count : counts.groups) shares.groups.push_back(fraction(count, covered));
  shares.dependOnHoldouts = std::ranges::any_of(
      all[experiment].holdouts, [&](const project::PreparedExperiment* holdout) {
        return usesHashOf(*all[experiment].record, *holdout->record);
      });
  return shares;
}

std::vector<Project::Stop> Project::stops() const {
  std::vector<Stop> stops;
  for (const project::PreparedExperiment& each : state_->prepared->experiments()) {
    if (isStop(each)) {
      stops.push_back({std::string(each.record->name), placement::kInvertedBounds});
    }
  }
  return stops;
}

}  // namespace corvo
