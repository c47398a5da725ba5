// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corvo {

/// One experiment that the user takes part in, with the values that it gives to the user.
struct CorvoExperimentDetail {
  /// The user's group.
  struct Group {
    std::int64_t index = 0;  ///< The position among the experiment's groups, from 0.

    bool operator==(const Group&) const = default;
  };

  /// The value of a flag or of a parameter, as text.
  struct Result {
    std::string name;   ///< Of the flag or the parameter.
    std::string value;  ///< The text in the configuration.

    bool operator==(const Result&) const = default;
  };

  /// "featureFlag", "parameter", "splitUrl", "webBuilder" or "holdout"; absent for an experiment
  /// without a type.
  std::optional<std::string> type;
  std::string id;  ///< The experiment's name.
  Group group;     ///< The user's group.
  /// For "featureFlag" the flags, for "parameter" the parameters that have a value for the user, in
  /// the configuration's order; empty for all other types.
  std::vector<Result> results;

  bool operator==(const CorvoExperimentDetail&) const = default;
};

}  // namespace corvo
