// SPDX-License-Identifier: Apache-2.0

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <memory>

#include "tool/commands.h"
#include "tool/output.h"
#include "tool/serve/serve_options.h"
#include "tool/serve/service.h"

namespace corvo::tool {
namespace {

/// Ends the process at once, because a thread of the service may still wait for a backend.
[[noreturn]] void serve(const ServeOptions& options) {
  std::unique_ptr<Service> service;
  int status = kDone;
  try {
    service = std::make_unique<Service>(options);
    service->run();
  } catch (...) {
    status = statusOfFailure();
  }
  std::_Exit(status);
}

}  // namespace

void addServe(CLI::App& app) {
  auto options = std::make_shared<ServeOptions>();
  CLI::App& command =
      *app.add_subcommand("serve", "Serve a project; prints its address and runs until stopped");
  addServeOptions(command, *options);
  command.callback([options, &command] {
    settleServe(command, *options);
    serve(*options);
  });
}

}  // namespace corvo::tool
