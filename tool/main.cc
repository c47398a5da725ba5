// SPDX-License-Identifier: Apache-2.0

#include <corvo/version.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>

#include "tool/commands.h"
#include "tool/help.h"
#include "tool/manual.h"
#include "tool/output.h"
#include "tool/usage.h"

namespace {

using namespace corvo::tool;

/// Returns the exit status. Any other exception is the failure of a subcommand.
int run(int argc, char** argv) {
  CLI::App app("Query, explain, check and compare a project's feature flags and experiments",
               "corvo");
  app.set_help_flag("-h,--help", "Show this help");
  app.set_version_flag("--version", CORVO_VERSION, "Show the version");
  app.require_subcommand(1);
  int status = kDone;
  addServe(app);
  addAsk(app);
  addExplain(app);
  addAssign(app);
  addSimulate(app);
  addLint(app, status);
  addDiff(app, status);
  addManual(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    print(helpOn(parsedCommand(app)));
  } catch (const CLI::CallForVersion& version) {
    print(version.what() + std::string("\n"));
  } catch (const CLI::ParseError& error) {
    printFailure("wrong-usage", complaintAbout(app, error));
    return kWrongUsage;
  }
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    prepareStandardStreams();
    const auto asksForJson = [](std::string_view argument) {
      return argument == "--json" || argument.starts_with("--json=");
    };
    if (std::any_of(argv, argv + argc, asksForJson)) printFailuresAsJson();
    return run(argc, argv);
  } catch (...) {
    return statusOfFailure();
  }
}
