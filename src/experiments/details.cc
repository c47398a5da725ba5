#include "experiments/details.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "experiments/param_value.h"
#include "flags/flag_decision.h"

namespace corvo::corvo_internal::experiments {
namespace {

// The entries of one experiment. What repeats a name takes from the room that is left.
class Results {
 public:
  Results(std::vector<CorvoExperimentDetail::Result>& entries, std::size_t& room)
      : entries_(entries), room_(room) {}

  // Answers whether there was room.
  bool add(std::string_view name, std::string_view value, bool repeatsName) {
    if (repeatsName) {
      if (value.size() > room_) return false;
      room_ -= value.size();
    }
    entries_.push_back({std::string(name), std::string(value)});
    return true;
  }

 private:
  std::vector<CorvoExperimentDetail::Result>& entries_;
  std::size_t& room_;
};

// Adds what the flags or parameters of an experiment come to in the user's group. Answers whether
// there was room.
using Collect = bool (*)(const project::PreparedExperiment& experiment, const model::Group& group,
                         const targeting::Context& context, Results& results);

bool flagResults(const project::PreparedExperiment& experiment, const model::Group& group,
                 const targeting::Context& context, Results& results) {
  std::size_t index = 0;
  for (const flags::FlagDecision& decision : flags::decideFlags(experiment, group, context)) {
    const bool repeatsName = experiment.firstFlags[index] < index;
    ++index;
    if (!decision.value) continue;
    if (!results.add(decision.carried->record->name, *decision.value, repeatsName)) return false;
  }
  return true;
}

// Of two parameters with one name both entries show the first one's value.
bool paramResults(const project::PreparedExperiment& experiment, const model::Group& group,
                  const targeting::Context& /*context*/, Results& results) {
  std::vector<const model::Text*> values;
  for (const std::uint32_t first : experiment.firstParams) {
    const model::Param& param = experiment.record->params[first];
    const bool repeatsName = first < values.size();
    values.push_back(repeatsName ? values[first] : paramValue(param, group));
    if (values.back() && !results.add(param.name, *values.back(), repeatsName)) return false;
  }
  return true;
}

bool noResults(const project::PreparedExperiment& /*experiment*/, const model::Group& /*group*/,
               const targeting::Context& /*context*/, Results& /*results*/) {
  return true;
}

struct TypeRow {
  const char* word;
  Collect collect;
};

// In the order of the types, which are numbered from 1.
constexpr std::array<TypeRow, 5> kTypes{{{"featureFlag", flagResults},
                                         {"parameter", paramResults},
                                         {"splitUrl", noResults},
                                         {"webBuilder", noResults},
                                         {"holdout", noResults}}};

const TypeRow& rowOf(model::ExperimentType type) {
  return kTypes.at(static_cast<std::size_t>(type) - 1);
}

std::optional<CorvoExperimentDetail> detailOf(const Membership& membership,
                                              const targeting::Context& context,
                                              std::size_t& room) {
  const auto& [experiment, placement] = membership;
  CorvoExperimentDetail detail{
      std::nullopt, std::string(experiment->record->name), {placement.index}, {}};
  if (!experiment->record->type) return detail;
  const TypeRow& type = rowOf(*experiment->record->type);
  detail.type = type.word;
  Results results(detail.results, room);
  if (!type.collect(*experiment, *placement.group, context, results)) return std::nullopt;
  return detail;
}

}  // namespace

const char* wordOf(model::ExperimentType type) { return rowOf(type).word; }

std::optional<std::vector<CorvoExperimentDetail>> experimentDetails(
    const std::vector<Membership>& memberships, const targeting::Context& context) {
  std::size_t room = kMostRepeatedBytes;
  std::vector<CorvoExperimentDetail> details;
  details.reserve(memberships.size());
  for (const Membership& membership : memberships) {
    std::optional<CorvoExperimentDetail> detail = detailOf(membership, context, room);
    if (!detail) return std::nullopt;
    details.push_back(*std::move(detail));
  }
  return details;
}

}  // namespace corvo::corvo_internal::experiments
