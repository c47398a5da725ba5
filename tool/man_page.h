// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace corvo::tool {

/// The `man 1` page of a command, in roff with the macros of man(7): of `corvo` itself, or of a
/// direct subcommand, including the commands below it.
[[nodiscard]] std::string manPageOn(const CLI::App& command);

}  // namespace corvo::tool
