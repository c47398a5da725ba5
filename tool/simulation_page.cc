// SPDX-License-Identifier: Apache-2.0

#include <algorithm>
#include <span>

#include "tool/html.h"
#include "tool/output.h"
#include "tool/report.h"
#include "tool/simulation_views.h"

namespace corvo::tool {
namespace {

constexpr std::size_t kMostOverlapsShown = 200;

// The policy forbids scripts and everything that is not in the page.
constexpr const char* kHead = R"(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8"/>
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'"/>
<meta name="viewport" content="width=device-width, initial-scale=1"/>
<meta name="color-scheme" content="light dark"/>
<title>Simulation</title>
<style>
:root {
  --text: #1c2128; --faint: #57606a; --line: #d0d7de; --back: #ffffff; --track: #eaeef2;
  --bar: #0969da; --mark: #1c2128; --alarm: #b3261e; --link: #0550ae;
}
@media (prefers-color-scheme: dark) {
  :root {
    --text: #e6edf3; --faint: #a0aab4; --line: #3d444d; --back: #0d1117; --track: #262c36;
    --bar: #4493f8; --mark: #e6edf3; --alarm: #ff7b72; --link: #79b8ff;
  }
}
body {
  margin: 0 auto; max-width: 60rem; padding: 1rem; background: var(--back); color: var(--text);
  font: 1rem/1.5 system-ui, sans-serif;
}
h1, h2 { line-height: 1.2; margin: 1.5rem 0 .5rem; overflow-wrap: anywhere; }
h2 { border-top: 1px solid var(--line); padding-top: 1.5rem; }
a { color: var(--link); }
.scroll { overflow-x: auto; margin: 1rem 0; }
table { border-collapse: collapse; width: 100%; }
th, td {
  padding: .25rem .75rem .25rem 0; text-align: left; vertical-align: top; white-space: nowrap;
}
thead th { color: var(--faint); font-weight: normal; border-bottom: 1px solid var(--line); }
tbody th, td.name { min-width: 8rem; white-space: normal; overflow-wrap: anywhere; }
.number { text-align: right; font-variant-numeric: tabular-nums; }
.chart { width: 40%; min-width: 9rem; padding-right: 0; }
svg { display: block; width: 100%; height: 1.1rem; margin-top: .2rem; }
.track { fill: var(--track); }
.users { fill: var(--bar); }
.mark { fill: var(--mark); }
.alarm { color: var(--alarm); font-weight: 600; }
.faint { color: var(--faint); }
@media print { h2 { break-after: avoid; } }
</style>
</head>
<body>
)";

constexpr const char* kScale = "0 to 100&#160;%";

constexpr const char* kFoot = "</main>\n</body>\n</html>\n";

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
  const double p = experiment.fit->p;
  const std::string text = p < 0.0001 ? "p &lt; 0.0001" : "p = " + rounded(p, 4);
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
  for (const auto& each :
       std::span(striking).first(std::min(striking.size(), kMostOverlapsShown))) {
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
           " with groups that do not fit their shares (p &lt; 0.001).</strong>";
  }
  const bool isTested = std::ranges::any_of(report.experiments,
                                            [](const auto& each) { return each.fit.has_value(); });
  return isTested ? "All tested groups fit their shares." : "No groups were tested.";
}

}  // namespace

std::string asPage(const SimulationReport& report) {
  std::string html = kHead;
  html += "<header>\n<h1>Simulation</h1>\n<p>" + counted(report.users, "user") + ", " +
          counted(report.experiments.size(), "experiment") + ". " + verdictOn(report) +
          "</p>\n<p class='faint'>A bar is a share of users; the mark on it is the expected "
          "share.</p>\n</header>\n<main>\n";
  html += overviewOf(report);
  for (const auto& each : report.experiments) html += sectionOf(each, report.users);
  return html + overlapsOf(report) + kFoot;
}

}  // namespace corvo::tool
