// SPDX-License-Identifier: Apache-2.0

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "tool/answer_form.h"
#include "tool/commands.h"
#include "tool/format.h"
#include "tool/input.h"
#include "tool/jobs.h"
#include "tool/output.h"
#include "tool/population.h"
#include "tool/simulation.h"
#include "tool/simulation_report.h"
#include "tool/simulation_views.h"
#include "tool/source.h"
#include "tool/style.h"
#include "tool/subject.h"
#include "tool/surroundings.h"

namespace corvo::tool {
namespace {

struct SimulateOptions {
  SourceOptions source;
  SurroundingsOptions surroundings;
  PopulationOptions population;
  std::vector<std::string> experiments;
  std::string page;
  Colour colour = Colour::automatic;
  std::size_t jobs = 1;
  Format format = Format::text;
};

void run(SimulateOptions& options) {
  settleSource(options.source, options.population.from);
  Surroundings surroundings(options.surroundings);
  surroundings.freeze();
  const Population population(options.population);
  const Source source = loadSource(options.source);
  const Project& project = source.project;
  const AnswerForm chosen(project, {}, options.experiments);
  EvaluationContext defaults{.location = source.location};
  surroundings.describe(defaults);
  const Simulation simulation =
      simulate(project, defaults, population, chosen.experiments(), options.jobs);
  const SimulationReport report = reportOf(project, simulation, chosen.experiments());
  if (!options.page.empty()) writeFile(options.page, asPage(report));
  print(inFormat(options.format, report, Style(options.colour)));
  // Last, so that a failure under --json prints nothing but the failure.
  printDrops(source);
  const auto varied = population.variations().names();
  warnOfUnused(varied, {&project});
  if (report.experiments.size() > Simulation::kMostOverlapping) {
    std::cerr << "warning: overlaps are counted for at most " +
                     std::to_string(Simulation::kMostOverlapping) +
                     " experiments; choose some with --experiment\n";
  }
}

}  // namespace

void addSimulate(CLI::App& app) {
  auto options = std::make_shared<SimulateOptions>();
  CLI::App& command = *app.add_subcommand(
      "simulate", "Count users per group, and test the counts against the shares");
  addSourceOptions(command, options->source);
  addPopulationOptions(command, options->population);
  command
      .add_option("--experiment", options->experiments,
                  "Only this experiment or holdout; may be repeated")
      ->type_name("NAME")
      ->allow_extra_args(false);
  addSurroundingsOptions(command, options->surroundings);
  addJobsOption(command, options->jobs);
  command.add_option("--html", options->page, "Also write a page with charts to a file")
      ->check(complainAboutName)
      ->type_name("FILE");
  addColourOption(command, options->colour);
  addFormatOptions(command, options->format);
  command.callback([options] { run(*options); });
}

}  // namespace corvo::tool
