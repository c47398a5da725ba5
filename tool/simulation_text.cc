// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <sstream>

#include "tool/first_few.h"
#include "tool/report.h"
#include "tool/simulation_views.h"
#include "tool/text.h"

namespace corvo::tool {
namespace {

constexpr std::size_t kBarWidth = 40;
constexpr std::size_t kMostOverlapsPrinted = 20;

/// A bar as long as the fraction, with a mark at the expected one.
std::string bar(double fraction, double expected) {
  const auto columns = [](double part) {
    return static_cast<std::size_t>(std::lround(part * static_cast<double>(kBarWidth)));
  };
  std::string text(columns(fraction), '#');
  const std::size_t mark = std::max<std::size_t>(columns(expected), 1) - 1;
  text.resize(std::max(text.size(), mark + 1), ' ');
  text[mark] = '|';
  return text;
}

std::string usersIn(const SimulationReport::Experiment& experiment, std::uint64_t all) {
  return visible(experiment.name) + (experiment.isHoldout ? " (holdout)" : "") + ": " +
         std::to_string(experiment.users) + " of " + std::to_string(all) + " users";
}

std::string linesOfOutside(const SimulationReport::Experiment& experiment) {
  std::string lines;
  for (const auto& each : experiment.outside) {
    lines += "  " + std::to_string(each.users) + " " + std::string(textOf(each));
    if (each.holdout) lines += " " + visible(*each.holdout);
    lines += "\n";
  }
  return lines;
}

void addExperiment(const SimulationReport::Experiment& experiment, const Style& style,
                   std::ostream& out) {
  const bool areForced =
      std::ranges::any_of(experiment.groups, [](const auto& each) { return each.forced > 0; });
  Report table{.sentence = {},
               .columns = {"GROUP", "WEIGHT", "SHARE", "EXPECTED", "USERS"},
               .rows = {},
               .json = {}};
  if (areForced) table.columns.emplace_back("FORCED");
  table.columns.push_back("0%" + std::string(kBarWidth - 6, ' ') + "100%");
  for (const auto& each : experiment.groups) {
    auto& row = table.rows.emplace_back();
    row = {each.name, shown(each.weight), rounded(each.share, 5), rounded(each.expected, 1),
           std::to_string(each.bucketed)};
    if (areForced) row.push_back(std::to_string(each.forced));
    row.push_back(bar(fractionOf(each.bucketed, experiment.bucketed), each.share));
  }
  printReport(table, style, out);
  const bool isFlagged = experiment.fit && experiment.fit->isFlagged();
  const std::string sentence = sentenceOf(experiment);
  out << (isFlagged ? style.red(sentence) : sentence) << "\n";
}

void addOverlaps(const SimulationReport& report, const Style& style, std::ostream& out) {
  const auto overlaps = report.strikingOverlaps();
  if (overlaps.empty()) return;
  Report table{.sentence = "Overlaps that independent experiments would not have:",
               .columns = {"EXPERIMENT", "AND", "IN BOTH", "IF INDEPENDENT"},
               .rows = {},
               .json = {}};
  for (const auto& each : firstFew(overlaps, kMostOverlapsPrinted)) {
    table.rows.push_back({report.experiments[each.first].name, report.experiments[each.second].name,
                          std::to_string(each.users), rounded(each.expected, 1)});
  }
  out << "\n";
  printReport(table, style, out);
  if (overlaps.size() > kMostOverlapsPrinted) {
    out << "and " << overlaps.size() - kMostOverlapsPrinted << " more; --json lists all\n";
  }
}

}  // namespace

std::string rounded(double number, int digits) {
  std::string text(static_cast<std::size_t>(std::snprintf(nullptr, 0, "%.*f", digits, number)),
                   '\0');
  std::snprintf(text.data(), text.size() + 1, "%.*f", digits, number);
  return text;
}

std::string probability(double p) { return p < 0.0001 ? "p < 0.0001" : "p = " + rounded(p, 4); }

std::string sentenceOf(const SimulationReport::Experiment& experiment) {
  if (!experiment.fit) return "not tested (" + experiment.untested + ")";
  const auto& [chiSquare, degrees, p] = *experiment.fit;
  return "chi-square " + rounded(chiSquare, 2) + " with " + counted(degrees, "degree") +
         " of freedom, " + probability(p) +
         (experiment.fit->isFlagged() ? ": the groups do not fit their shares" : "");
}

std::string forPeople(const SimulationReport& report, const Style& style) {
  std::ostringstream out;
  for (const auto& each : report.experiments) {
    if (&each != report.experiments.data()) out << "\n";
    out << style.bold(usersIn(each, report.users)) << "\n" << linesOfOutside(each);
    addExperiment(each, style, out);
  }
  if (report.experiments.empty()) out << "no experiments\n";
  addOverlaps(report, style, out);
  return out.str();
}

}  // namespace corvo::tool
