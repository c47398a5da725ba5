// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/engine.h>
#include <corvo/experiment_detail.h>
#include <corvo/explanation.h>
#include <corvo/flag_report.h>

#include <string>
#include <vector>

namespace corvo::corvo_internal::c {

/// A JSON object of texts that read as the values, by name. JSON has no types for all values.
std::string flagsJson(const FlagReport& report);

/// A JSON array of the details.
std::string detailsJson(const std::vector<CorvoExperimentDetail>& details);

/// Throws `Misuse` for an unknown form.
void checkForm(corvo_form form);
/// The explanation in a form that has been checked.
std::string explained(const Explanation& explanation, corvo_form form);

}  // namespace corvo::corvo_internal::c
