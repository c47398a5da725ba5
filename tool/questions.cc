// SPDX-License-Identifier: Apache-2.0

#include "tool/questions.h"

#include <CLI/CLI.hpp>

#include "tool/experiment_report.h"

namespace corvo::tool {
namespace {

void takesNothing(CLI::App& /*command*/, Arguments& /*arguments*/) {}

void takesName(CLI::App& command, Arguments& arguments) {
  command.add_option("NAME", arguments.name)->required();
}

void takesNameAndIndex(CLI::App& command, Arguments& arguments) {
  takesName(command, arguments);
  command.add_option("INDEX", arguments.index, "The position of a group, from 0");
}

void takesNameOrAll(CLI::App& command, Arguments& arguments) {
  command.add_option("NAME", arguments.name);
  command.add_flag("--all", arguments.all, "All experiments");
  command.require_option(1);
}

Report askFlag(CorvoClient& client, const Arguments& arguments) {
  const std::optional<std::string> text = client.checkFlag<std::string>(arguments.name).get();
  return valueReport("FLAG", {{arguments.name, typedProperty(text.value())}});
}

Report askFlags(CorvoClient& client, const Arguments&) {
  const FlagReport values = client.getUserFeatureFlagsDetails().get();
  return valueReport("FLAG", {values.begin(), values.end()});
}

Report askExperiment(CorvoClient& client, const Arguments& arguments) {
  const CorvoExperimentPointer experiment = client.getExperiment(arguments.name).get();
  if (!experiment) return absenceReport(arguments.name);
  return experimentReport(*experiment, client.getUserExperimentsDetails().get());
}

Report askExperiments(CorvoClient& client, const Arguments&) {
  return experimentsReport(client.getAllUserExperiments().get());
}

Report askHoldout(CorvoClient& client, const Arguments& arguments) {
  return holdoutReport(arguments.name, client.getHoldout(arguments.name).get());
}

Report askHoldouts(CorvoClient& client, const Arguments&) {
  return holdoutsReport(client.getAllUserExperiments().get(),
                        client.getUserExperimentsDetails().get());
}

Report askDetails(CorvoClient& client, const Arguments&) {
  return detailsReport(client.getUserExperimentsDetails().get());
}

Report force(CorvoClient& client, const Arguments& arguments) {
  client.includeForce(arguments.name, arguments.index).get();
  return forcedReport(arguments.name, arguments.index);
}

Report unforce(CorvoClient& client, const Arguments& arguments) {
  if (arguments.all) {
    client.excludeForceAll().get();
    return unforcedReport(std::nullopt);
  }
  client.excludeForce(arguments.name).get();
  return unforcedReport(arguments.name);
}

constexpr Question kQuestions[] = {
    {"flag", takesName, "The value of one flag", askFlag},
    {"flags", takesNothing, "The values of all flags that have one for the user", askFlags},
    {"experiment", takesName, "The user's group in an experiment, and its values", askExperiment},
    {"experiments", takesNothing, "All experiments that the user is in", askExperiments},
    {"holdout", takesName, "Whether the user is in a holdout", askHoldout},
    {"holdouts", takesNothing, "All holdouts that the user is in", askHoldouts},
    {"details", takesNothing, "All experiments that the user is in, and their values", askDetails},
    {"force", takesNameAndIndex,
     "Put the user into an experiment, or into its group INDEX; persists with --store", force},
    {"unforce", takesNameOrAll, "Undo force, for one experiment or all", unforce},
};

}  // namespace

std::span<const Question> questions() { return kQuestions; }

}  // namespace corvo::tool
