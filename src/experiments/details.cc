// SPDX-License-Identifier: Apache-2.0

#include "experiments/details.h"

#include <array>
#include <cstddef>
#include <cstdint>

#include "experiments/param_value.h"
#include "flags/flag_decision.h"

namespace corvo::corvo_internal::experiments {
namespace {

// Collects the user's values from one experiment after another. Values of repeated names take their
// space from a common limit. Each collecting function returns whether there was enough space.
class Collector {
 public:
  using Results = std::vector<CorvoExperimentDetail::Result>;

  explicit Collector(const targeting::Context& context) : context_(context) {}

  bool flags(const Membership& membership, Results& results) {
    const auto& [experiment, placement] = membership;
    flags::decideFlags(*experiment, *placement.group, context_, decisions_);
    results.reserve(decisions_.size());
    for (std::size_t index = 0; index < decisions_.size(); ++index) {
      const flags::FlagDecision& decision = decisions_[index];
      if (!decision.rule) continue;
      const bool repeatsName = experiment->firstFlags[index] < index;
      if (!add(decision.carried->record->name, decision.rule->value, repeatsName, results))
        return false;
    }
    return true;
  }

  // If two parameters have one name, both entries show the first one's value.
  bool params(const Membership& membership, Results& results) {
    const auto& [experiment, placement] = membership;
    values_.clear();
    results.reserve(experiment->firstParams.size());
    for (const std::uint32_t first : experiment->firstParams) {
      const model::Param& param = experiment->record->params[first];
      const bool repeatsName = first < values_.size();
      values_.push_back(repeatsName ? values_[first] : paramValue(param, *placement.group));
      const model::Text* value = values_.back();
      if (value && !add(param.name, *value, repeatsName, results)) return false;
    }
    return true;
  }

  bool nothing(const Membership& /*membership*/, Results& /*results*/) { return true; }

 private:
  bool add(std::string_view name, std::string_view value, bool repeatsName, Results& results) {
    if (repeatsName) {
      if (value.size() > room_) return false;
      room_ -= value.size();
    }
    CorvoExperimentDetail::Result& result = results.emplace_back();
    result.name = name;
    result.value = value;
    return true;
  }

  const targeting::Context& context_;
  std::size_t room_ = kMostRepeatedBytes;
  std::vector<flags::FlagDecision> decisions_;  // of the current experiment, like the members below
  std::vector<const model::Text*> values_;
};

struct TypeRow {
  const char* word;
  bool (Collector::*collect)(const Membership&, Collector::Results&);
};

// In the order of the types, which are numbered from 1.
constexpr std::array<TypeRow, 5> kTypes{{{"featureFlag", &Collector::flags},
                                         {"parameter", &Collector::params},
                                         {"splitUrl", &Collector::nothing},
                                         {"webBuilder", &Collector::nothing},
                                         {"holdout", &Collector::nothing}}};

const TypeRow& rowOf(model::ExperimentType type) {
  return kTypes.at(static_cast<std::size_t>(type) - 1);
}

}  // namespace

const char* wordOf(model::ExperimentType type) { return rowOf(type).word; }

std::optional<std::vector<CorvoExperimentDetail>> experimentDetails(
    const std::vector<Membership>& memberships, const targeting::Context& context) {
  Collector collector(context);
  std::vector<CorvoExperimentDetail> details;
  details.reserve(memberships.size());
  for (const Membership& membership : memberships) {
    CorvoExperimentDetail& detail = details.emplace_back();
    const model::Experiment& record = *membership.experiment->record;
    detail.id = record.name;
    detail.group.index = membership.placement.index;
    if (!record.type) continue;
    const TypeRow& type = rowOf(*record.type);
    detail.type.emplace(type.word);
    if (!(collector.*type.collect)(membership, detail.results)) return std::nullopt;
  }
  return details;
}

}  // namespace corvo::corvo_internal::experiments
