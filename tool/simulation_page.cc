// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <span>

#include "tool/first_few.h"
#include "tool/html.h"
#include "tool/report.h"
#include "tool/simulation_template.h"
#include "tool/simulation_views.h"
#include "tool/text.h"

namespace corvo::tool {
namespace {

constexpr std::size_t kMostOverlapsShown = 200;

constexpr const char* kScale = "0 to 100&#160;%";

/// A name from the document. It does not change the direction of the text around it.
std::string named(const std::string& name) { return "<bdi>" + html::shown(name) + "</bdi>"; }

std::string percent(double fraction, int digits = 1) {
  return rounded(100 * fraction, digits) + "&#160;%";
}

std::string cell(const std::string& text) { return "<td class='number'>" + text + "</td>"; }
std::string cell(std::uint64_t count) { return cell(std::to_string(count)); }

enum class Kind : std::uint8_t { text, number, chart };
struct Heading {
  const char* name;
  Kind kind;
};

std::string headOf(std::span<const Heading> headings) {
  constexpr const char* kClasses[] = {"", " class='number'", " class='chart'"};
  std::string html = "<thead><tr>";
  for (const auto& [name, kind] : headings) {
    html += std::string("<th scope='col'") + kClasses[static_cast<std::size_t>(kind)] + ">" + name +
            "</th>";
  }
  return html + "</tr></thead>\n";
}

/// Wide tables scroll by themselves, also with the keyboard.
std::string table(const std::string& label, const std::string& content) {
  return "<div class='scroll' role='region' tabindex='0' aria-label='" + label + "'>\n<table>\n" +
         content + "</table>\n</div>\n";
}

/// A bar as long as the fraction, and a mark at the expected one if there is one. Only for the eye:
/// the numbers are beside it.
std::string chart(double fraction, std::optional<double> expected) {
  const auto rect = [](const char* kind, double x, double width) {
    return std::string("<rect class='") + kind + "' x='" + rounded(x, 3) + "' y='0' width='" +
           rounded(width, 3) + "' height='10'/>";
  };
  constexpr double kMarkWidth = 0.6;
  std::string svg =
      "<td class='chart'><svg viewBox='0 0 100 10' preserveAspectRatio='none' "
      "aria-hidden='true' focusable='false'>";
  svg += rect("track", 0, 100) + rect("users", 0, 100 * std::clamp(fraction, 0.0, 1.0));
  if (expected) svg += rect("mark", std::clamp(100 * *expected, 0.0, 100 - kMarkWidth), kMarkWidth);
  return svg + "</svg></td>";
}

std::string anchorOf(const SimulationReport::Experiment& experiment) {
  return "e" + std::to_string(experiment.position);
}

std::string resultOf(const SimulationReport::Experiment& experiment) {
  if (!experiment.fit) return "<span class='faint'>not tested</span>";
  const std::string text = html::exact(probability(experiment.fit->p));
  return experiment.fit->isFlagged() ? "<span class='alarm'>\u26A0 " + text + "</span>" : text;
}

std::string overviewOf(const SimulationReport& report) {
  constexpr Heading kHeadings[] = {{"Experiment", Kind::text},
                                   {"Users", Kind::number},
                                   {"Share", Kind::number},
                                   {"Groups fit", Kind::text},
                                   {kScale, Kind::chart}};
  std::string html = headOf(kHeadings) + "<tbody>\n";
  for (const auto& each : report.experiments) {
    const double fraction = fractionOf(each.users, report.users);
    html += "<tr><th scope='row'><a href='#" + anchorOf(each) + "'>" + named(each.name) + "</a>" +
            (each.isHoldout ? " <span class='faint'>holdout</span>" : "") + "</th>" +
            cell(each.users) + cell(percent(fraction)) + "<td>" + resultOf(each) + "</td>" +
            chart(fraction, std::nullopt) + "</tr>\n";
  }
  return table("All experiments", html + "</tbody>\n");
}

std::string whereUsersAre(const SimulationReport::Experiment& experiment, std::uint64_t all) {
  constexpr Heading kHeadings[] = {{"Where the users are", Kind::text},
                                   {"Users", Kind::number},
                                   {"Share", Kind::number},
                                   {kScale, Kind::chart}};
  std::string html = headOf(kHeadings) + "<tbody>\n";
  const auto add = [&](const std::string& what, std::uint64_t users) {
    const double fraction = fractionOf(users, all);
    html += "<tr><th scope='row'>" + what + "</th>" + cell(users) + cell(percent(fraction)) +
            chart(fraction, std::nullopt) + "</tr>\n";
  };
  add(experiment.isHoldout ? "in the holdout" : "in the experiment", experiment.users);
  for (const auto& each : experiment.outside) {
    std::string what(textOf(each));
    if (each.holdout) what += " " + named(*each.holdout);
    add(what, each.users);
  }
  return table("Where the users are", html + "</tbody>\n");
}

std::string groupsOf(const SimulationReport::Experiment& experiment) {
  constexpr Heading kHeadings[] = {{"Group", Kind::text},         {"Weight", Kind::number},
                                   {"Exact share", Kind::number}, {"Expected", Kind::number},
                                   {"Users", Kind::number},       {"Forced", Kind::number},
                                   {kScale, Kind::chart}};
  std::string html = headOf(kHeadings) + "<tbody>\n";
  for (const auto& each : experiment.groups) {
    html += "<tr><th scope='row'>" + named(each.name) + "</th>" + cell(shown(each.weight)) +
            cell(percent(each.share, 3)) + cell(rounded(each.expected, 1)) + cell(each.bucketed) +
            cell(each.forced) + chart(fractionOf(each.bucketed, experiment.bucketed), each.share) +
            "</tr>\n";
  }
  return table("Groups", html + "</tbody>\n");
}

std::string sectionOf(const SimulationReport::Experiment& experiment, std::uint64_t all) {
  const std::string id = anchorOf(experiment);
  const bool isFlagged = experiment.fit && experiment.fit->isFlagged();
  return "<section aria-labelledby='" + id + "'>\n<h2 id='" + id + "'>" + named(experiment.name) +
         (experiment.isHoldout ? " <span class='faint'>holdout</span>" : "") + "</h2>\n" +
         whereUsersAre(experiment, all) + groupsOf(experiment) + "<p" +
         (isFlagged ? " class='alarm'" : "") + ">Groups: " + html::shown(sentenceOf(experiment)) +
         ".</p>\n</section>\n";
}

std::string overlapsOf(const SimulationReport& report) {
  if (report.experiments.size() < 2) return {};
  const auto striking = report.strikingOverlaps();
  std::string html = "<section aria-labelledby='overlaps'>\n<h2 id='overlaps'>Overlaps</h2>\n";
  if (report.overlaps.empty()) {
    return html + "<p>Not counted: there are more than " +
           std::to_string(Simulation::kMostOverlapping) + " experiments.</p>\n</section>\n";
  }
  html +=
      "<p>Pairs with more or fewer common users than if the experiments were independent.</p>\n";
  if (striking.empty()) return html + "<p>None.</p>\n</section>\n";
  constexpr Heading kHeadings[] = {{"Experiment", Kind::text},
                                   {"And", Kind::text},
                                   {"In both", Kind::number},
                                   {"If independent", Kind::number},
                                   {kScale, Kind::chart}};
  std::string rows = headOf(kHeadings) + "<tbody>\n";
  for (const auto& each : firstFew(striking, kMostOverlapsShown)) {
    const SimulationReport::Experiment& first = report.experiments[each.first];
    rows += "<tr><th scope='row'>" + named(first.name) + "</th><td class='name'>" +
            named(report.experiments[each.second].name) + "</td>" + cell(each.users) +
            cell(rounded(each.expected, 1)) +
            chart(fractionOf(each.users, first.users), fractionOf(each.expected, first.users)) +
            "</tr>\n";
  }
  html += table("Overlaps", rows + "</tbody>\n") +
          "<p class='faint'>The bar is the share of the first experiment's users.</p>\n";
  if (striking.size() > kMostOverlapsShown) {
    html += "<p>" + std::to_string(striking.size() - kMostOverlapsShown) +
            " more pairs are not shown.</p>\n";
  }
  return html + "</section>\n";
}

std::string verdictOn(const SimulationReport& report) {
  const std::size_t flagged = report.flaggedCount();
  if (flagged > 0) {
    return "<strong class='alarm'>" + counted(flagged, "experiment") +
           " with groups that do not fit their shares (p &lt; " + shown(kFlaggedBelow) +
           ").</strong>";
  }
  const bool isTested = std::ranges::any_of(report.experiments,
                                            [](const auto& each) { return each.fit.has_value(); });
  return isTested ? "All tested groups fit their shares." : "No groups were tested.";
}

}  // namespace

std::string asPage(const SimulationReport& report) {
  const std::string summary = counted(report.users, "user") + ", " +
                              counted(report.experiments.size(), "experiment") + ". " +
                              verdictOn(report);
  std::string content = overviewOf(report);
  for (const auto& each : report.experiments) content += sectionOf(each, report.users);
  return html::filled(kSimulation,
                      {{"summary", summary}, {"content", content + overlapsOf(report)}});
}

}  // namespace corvo::tool
