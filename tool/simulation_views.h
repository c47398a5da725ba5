// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "tool/simulation_report.h"
#include "tool/style.h"

namespace corvo::tool {

/// A simulation for people.
[[nodiscard]] std::string forPeople(const SimulationReport& report, const Style& style);

/// For programs; docs/simulate.md describes both.
[[nodiscard]] std::string inJson(const SimulationReport& report);
[[nodiscard]] std::string inCsv(const SimulationReport& report);

/// As a page of HTML that needs no other file. It runs no scripts; texts of the document cannot
/// become markup.
[[nodiscard]] std::string asPage(const SimulationReport& report);

/// A number with so many digits after the point.
[[nodiscard]] std::string rounded(double number, int digits);
/// "p = 0.0123", or "p < 0.0001".
[[nodiscard]] std::string probability(double p);
/// The result of the test of the groups, or why there is none, as a sentence without its full stop.
[[nodiscard]] std::string sentenceOf(const SimulationReport::Experiment& experiment);

}  // namespace corvo::tool
