// SPDX-License-Identifier: Apache-2.0

#include <CLI/CLI.hpp>
#include <memory>

#include "tool/assignment.h"
#include "tool/commands.h"
#include "tool/input.h"
#include "tool/jobs.h"
#include "tool/source.h"
#include "tool/subject.h"
#include "tool/surroundings.h"

namespace corvo::tool {
namespace {

struct CommandOptions {
  SourceOptions source;
  SubjectOptions subject;
  SurroundingsOptions surroundings;
  AssignOptions assign;
};

void run(CommandOptions& options) {
  settleSource(options.source, kStandardInput);
  if (options.subject.file == kStandardInput) {
    throw CLI::ValidationError("--user", "standard input already supplies the users");
  }
  const Surroundings surroundings(options.surroundings);
  const Subject subject(options.subject);
  const Source source = loadSource(options.source);
  subject.warnOfUnread(source.project);
  EvaluationContext defaults{.location = source.location};
  surroundings.describe(defaults);
  assign(source.project, defaults, subject.documents(), options.assign);
}

void addOwnOptions(CLI::App& command, AssignOptions& options) {
  command
      .add_option("--flag", options.flags,
                  "Write only the named flags and experiments; may be repeated")
      ->type_name("NAME")
      ->allow_extra_args(false);
  command
      .add_option("--experiment", options.experiments, "The same for an experiment or a holdout")
      ->type_name("NAME")
      ->allow_extra_args(false);
  addJobsOption(command, options.jobs);
}

}  // namespace

void addAssign(CLI::App& app) {
  auto options = std::make_shared<CommandOptions>();
  CLI::App& command =
      *app.add_subcommand("assign", "Evaluate many users: one per line of standard input, in JSON");
  addSourceOptions(command, options->source);
  addSubjectOptions(command, options->subject);
  addSurroundingsOptions(command, options->surroundings);
  addOwnOptions(command, options->assign);
  command.add_flag("--json")->description("Print errors as JSON, too; answers always are");
  command.callback([options] { run(*options); });
}

}  // namespace corvo::tool
