#pragma once

#include <string>

namespace CLI {
class App;
}

namespace corvo::tool {

/// What `corvo help` says of a command: a screen of text, its lines at most 80 characters long
/// except the examples.
[[nodiscard]] std::string helpOn(const CLI::App& command);

}  // namespace corvo::tool
