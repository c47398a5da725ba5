#pragma once

namespace CLI {
class App;
}

/// The `corvo` command. Each subcommand adds itself to the application and does its work while the
/// arguments are parsed; whatever it throws is its failure.
namespace corvo::tool {

void addServe(CLI::App& app);
void addAsk(CLI::App& app);

}  // namespace corvo::tool
