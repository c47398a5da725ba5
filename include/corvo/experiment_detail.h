#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace corvo {

/// One experiment that the user takes part in, with the values that he gets from it.
struct CorvoExperimentDetail {
  /// The place of a group.
  struct Group {
    std::int64_t index = 0;  ///< The position among the experiment's groups, from 0.

    bool operator==(const Group&) const = default;
  };

  /// The value of a flag or of a parameter, as its text.
  struct Result {
    std::string name;   ///< Of the flag or the parameter.
    std::string value;  ///< Not typed: as the configuration has it.

    bool operator==(const Result&) const = default;
  };

  /// "featureFlag", "parameter", "splitUrl", "webBuilder" or "holdout"; absent for an experiment
  /// without a type.
  std::optional<std::string> type;
  std::string id;  ///< The experiment's name.
  Group group;     ///< The user's group.
  /// The flags of a "featureFlag" and the parameters of a "parameter" that have a value for the
  /// user, in their order; empty for all others.
  std::vector<Result> results;

  bool operator==(const CorvoExperimentDetail&) const = default;
};

}  // namespace corvo
