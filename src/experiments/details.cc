#include "experiments/details.h"

#include <array>
#include <string>

#include "experiments/group_values.h"

namespace corvo::experiments {
namespace {

using Results = std::vector<CorvoExperimentDetail::Result>;

// What the flags or parameters of an experiment come to in the user's group.
using Collect = Results (*)(const PreparedExperiment& experiment, const model::Group& group,
                            const targeting::Context& context);

Results flagResults(const PreparedExperiment& experiment, const model::Group& group,
                    const targeting::Context& context) {
  Results results;
  for (const FlagDecision& decision : decideFlags(experiment, group, context)) {
    if (decision.value) results.push_back({decision.carried->record->name, *decision.value});
  }
  return results;
}

// Of two parameters with one name both entries show the first one's value.
Results paramResults(const PreparedExperiment& experiment, const model::Group& group,
                     const targeting::Context& /*context*/) {
  Results results;
  std::vector<const std::string*> values;
  for (const std::uint32_t first : experiment.firstParams) {
    const model::Param& param = experiment.record->params[first];
    values.push_back(first < values.size() ? values[first] : paramValue(param, group));
    if (values.back()) results.push_back({param.name, *values.back()});
  }
  return results;
}

Results noResults(const PreparedExperiment& /*experiment*/, const model::Group& /*group*/,
                  const targeting::Context& /*context*/) {
  return {};
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

CorvoExperimentDetail detailOf(const Membership& membership, const targeting::Context& context) {
  const auto& [experiment, placement] = membership;
  CorvoExperimentDetail detail{std::nullopt, experiment->record->name, {placement.index}, {}};
  if (!experiment->record->type) return detail;
  const TypeRow& type = kTypes.at(static_cast<std::size_t>(*experiment->record->type) - 1);
  detail.type = type.word;
  detail.results = type.collect(*experiment, *placement.group, context);
  return detail;
}

}  // namespace

std::vector<CorvoExperimentDetail> experimentDetails(const std::vector<Membership>& memberships,
                                                     const targeting::Context& context) {
  std::vector<CorvoExperimentDetail> details;
  details.reserve(memberships.size());
  for (const Membership& membership : memberships) details.push_back(detailOf(membership, context));
  return details;
}

}  // namespace corvo::experiments
