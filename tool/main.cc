#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "tool/commands.h"

namespace {

// What the shell gets to see; also stated in the help.
constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

}  // namespace

int main(int argc, char** argv) {
  try {
    CLI::App app("Serve a project's configuration and ask its flags.", "corvo");
    app.footer("Exit status: 0 done, 1 the work failed, 2 wrong usage.");
    app.set_version_flag("--version", CORVO_VERSION);
    app.require_subcommand(1);
    corvo::tool::addServe(app);
    corvo::tool::addAsk(app);
    try {
      app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
      return app.exit(error) == 0 ? 0 : kWrongUsage;
    }
    return 0;
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return kFailed;
  }
}
