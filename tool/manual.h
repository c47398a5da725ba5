// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace CLI {
class App;
}

namespace corvo::tool {

/// Adds the commands `help`, `man` and `completion`, which describe all commands of the parsed
/// application.
void addManual(CLI::App& app);

}  // namespace corvo::tool
