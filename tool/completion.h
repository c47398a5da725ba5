// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace corvo::tool {

/// A script for bash that completes commands, options, their values where these are files or words,
/// and the arguments of `help` and `man`.
[[nodiscard]] std::string bashCompletion(const CLI::App& app);

}  // namespace corvo::tool
