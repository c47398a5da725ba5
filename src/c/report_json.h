// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/engine.h>
#include <corvo/experiment_detail.h>
#include <corvo/explanation.h>
#include <corvo/flag_report.h>

#include <string>
#include <vector>

namespace corvo::corvo_internal::c {

/// A JSON object of the values by name.
std::string flagsJson(const FlagReport& report);

/// A JSON array of the details.
std::string detailsJson(const std::vector<CorvoExperimentDetail>& details);

/// The explanation in a form. Throws `Misuse` for an unknown one.
std::string explained(const Explanation& explanation, corvo_form form);

}  // namespace corvo::corvo_internal::c
