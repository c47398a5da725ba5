// SPDX-License-Identifier: Apache-2.0

#include <corvo/evaluation_context.h>

#include <CLI/CLI.hpp>
#include <cstddef>
#include <iostream>
#include <limits>
#include <memory>
#include <string>

#include "tool/commands.h"
#include "tool/comparison.h"
#include "tool/diff_report.h"
#include "tool/format.h"
#include "tool/input.h"
#include "tool/jobs.h"
#include "tool/output.h"
#include "tool/population.h"
#include "tool/source.h"
#include "tool/style.h"
#include "tool/subject.h"
#include "tool/surroundings.h"
#include "tool/text.h"

namespace corvo::tool {
namespace {

struct DiffOptions {
  std::string before;
  std::string after;
  SourceOptions backend;  // the token and the time limit
  std::string geo;
  PopulationOptions population;
  SurroundingsOptions surroundings;
  std::size_t jobs = 1;
  std::size_t explained = std::numeric_limits<std::size_t>::max();
  Colour colour = Colour::automatic;
  bool failsOnRegroup = false;
  Format format = Format::text;
};

constexpr std::size_t kMostRegroupedNamed = 20;

/// Returns whether there is something to warn of.
bool warnOfRegrouped(const Comparison& comparison) {
  std::string lines;
  std::size_t count = 0;
  for (const ItemChange& item : comparison.items) {
    if (item.regrouped() == 0 || ++count > kMostRegroupedNamed) continue;
    lines += "warning: " + wordOf(item.kind) + " \"" + visible(item.name) +
             "\": users who change groups: " + std::to_string(item.regrouped()) + "\n";
  }
  if (count > kMostRegroupedNamed) {
    lines += "warning: users of " + std::to_string(count - kMostRegroupedNamed) +
             " more experiments change groups\n";
  }
  std::cerr << lines;
  return count > 0;
}

int diff(const DiffOptions& options) {
  refuseSharedInput({options.before, options.after, options.geo, options.population.from});
  const auto [oldSource, newSource] = sourcesNamed(options.before, options.after, options.backend);
  Surroundings surroundings(options.surroundings);
  surroundings.freeze();
  const Population population(options.population);
  const Source before = loadSource(oldSource);
  const Source after = loadSource(newSource);
  EvaluationContext defaults{.location = loadLocation(options.geo)};
  surroundings.describe(defaults);
  const Comparison comparison =
      compare(before.project, after.project, population, defaults, options.jobs, options.explained);
  print(inFormat(options.format, comparison, Style(options.colour)));
  // Last, so that a failure under --json prints nothing but the failure.
  printDrops(before);
  printDrops(after);
  const auto varied = population.variations().names();
  warnOfUnused(varied, {&before.project, &after.project});
  return warnOfRegrouped(comparison) && options.failsOnRegroup ? kFound : kDone;
}

void addOwnOptions(CLI::App& command, DiffOptions& options) {
  command
      .add_option("--explain", options.explained,
                  "Explain changed answers only for the first COUNT users; the default is all")
      ->check(CLI::Range(0.0, 1e18))
      ->type_name("COUNT");
  addJobsOption(command, options.jobs);
  command.add_flag("--fail-on-regroup", options.failsOnRegroup,
                   "Exit with status 3 if users of an experiment change groups");
  addColourOption(command, options.colour);
  addFormatOptions(command, options.format);
}

}  // namespace

void addDiff(CLI::App& app, int& status) {
  auto options = std::make_shared<DiffOptions>();
  CLI::App& command = *app.add_subcommand(
      "diff", "Show how a change of the configuration affects users before it is published");
  for (const auto& [name, place, help] :
       {std::tuple("OLD", &options->before,
                   "The configuration before the change; - is standard input"),
        std::tuple("NEW", &options->after, "The configuration after it")}) {
    command.add_option(name, *place, help)->check(complainAboutName)->type_name("FILE")->required();
  }
  addGeoOption(command, options->geo);
  addBackendOptions(command, options->backend);
  addPopulationOptions(command, options->population);
  addSurroundingsOptions(command, options->surroundings);
  addOwnOptions(command, *options);
  command.callback([options, &status] { status = diff(*options); });
}

}  // namespace corvo::tool
