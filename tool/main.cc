#include <CLI/CLI.hpp>
#include <iostream>
#include <sstream>

#include "tool/commands.h"
#include "tool/output.h"

namespace {

constexpr int kWrongUsage = 2;  // what the shell gets to see; also stated in the help

/// Answers the exit status; whatever else is thrown is the failure of a subcommand.
int run(int argc, char** argv) {
  CLI::App app("Serve a project's configuration and ask its flags.", "corvo");
  app.footer("Exit status: 0 done, 1 the work failed, 2 wrong usage.");
  app.set_version_flag("--version", CORVO_VERSION);
  app.require_subcommand(1);
  corvo::tool::addServe(app);
  corvo::tool::addAsk(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::ostringstream help;
    const int status = app.exit(error, help, std::cerr);
    corvo::tool::print(help.str());
    return status == 0 ? 0 : kWrongUsage;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    corvo::tool::prepareStandardStreams();
    return run(argc, argv);
  } catch (...) {
    return corvo::tool::statusOfFailure();
  }
}
