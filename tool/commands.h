// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace CLI {
class App;
}

/// The `corvo` command. Each subcommand adds itself to the application and runs while the arguments
/// are parsed. An exception that it throws is its failure.
namespace corvo::tool {

void addServe(CLI::App& app);
void addAsk(CLI::App& app);
void addExplain(CLI::App& app);
void addAssign(CLI::App& app);
void addSimulate(CLI::App& app);
// These may set `status` to `kFound`.
void addLint(CLI::App& app, int& status);
void addDiff(CLI::App& app, int& status);

}  // namespace corvo::tool
