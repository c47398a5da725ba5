// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace CLI {
class App;
}

namespace corvo::tool {

/// The output of `corvo help` for a command. Its lines have at most 80 characters, except the
/// examples.
[[nodiscard]] std::string helpOn(const CLI::App& command);

}  // namespace corvo::tool
