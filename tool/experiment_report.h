// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/experiment.h>
#include <corvo/experiment_detail.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tool/report.h"

/// Answers about experiments, as reports.
namespace corvo::tool {

/// The user's group in an experiment and their values. The values come from the matching one of
/// `details`, which describe all experiments that the user is in, because a handle does not list
/// its values.
[[nodiscard]] Report experimentReport(const CorvoExperiment& experiment,
                                      const std::vector<CorvoExperimentDetail>& details);
/// The same for an experiment that the user is not in.
[[nodiscard]] Report absenceReport(const std::string& experimentName);
/// The same as JSON, without the type. `details` describe all experiments that the user is in.
[[nodiscard]] JsonValue placeWithValues(const CorvoExperiment& experiment,
                                        const std::vector<CorvoExperimentDetail>& details);
[[nodiscard]] Report experimentsReport(const std::vector<CorvoExperimentPointer>& experiments);

[[nodiscard]] Report holdoutReport(const std::string& name, bool isIn);
/// The holdouts among the experiments that the user is in.
[[nodiscard]] Report holdoutsReport(const std::vector<CorvoExperimentPointer>& experiments,
                                    const std::vector<CorvoExperimentDetail>& details);

[[nodiscard]] Report detailsReport(const std::vector<CorvoExperimentDetail>& details);

[[nodiscard]] Report forcedReport(const std::string& experimentName,
                                  const std::optional<std::int64_t>& groupIndex);
/// Without a name: all experiments.
[[nodiscard]] Report unforcedReport(const std::optional<std::string>& experimentName);

}  // namespace corvo::tool
