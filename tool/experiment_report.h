#pragma once

#include <corvo/experiment.h>
#include <corvo/experiment_detail.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/report.h"

/// Answers about experiments, made ready to be shown.
namespace corvo::tool {

/// The user's place in an experiment, and the values that the detail of it lists.
[[nodiscard]] Report experimentReport(const CorvoExperiment& experiment,
                                      const CorvoExperimentDetail& detail);
/// The same for an experiment that the user is not in.
[[nodiscard]] Report absenceReport(const std::string& experimentName);
[[nodiscard]] Report experimentsReport(const std::vector<CorvoExperimentPointer>& experiments);

[[nodiscard]] Report holdoutReport(const std::string& name, bool isIn);
/// Of a text as the client joins it; absent when there are none.
[[nodiscard]] Report holdoutsReport(const std::optional<std::string>& holdouts);

[[nodiscard]] Report detailsReport(const std::vector<CorvoExperimentDetail>& details);

[[nodiscard]] Report forcedReport(const std::string& experimentName,
                                  const std::optional<std::int64_t>& groupIndex);
/// Without a name for all experiments.
[[nodiscard]] Report unforcedReport(const std::optional<std::string>& experimentName);

}  // namespace corvo::tool
