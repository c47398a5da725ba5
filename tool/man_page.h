#pragma once

#include <string>

namespace CLI {
class App;
}

namespace corvo::tool {

/// The page of `man 1` on a command, in roff with the macros of man(7): on `corvo` itself, or on
/// one right below it and what that has below it.
[[nodiscard]] std::string manPageOn(const CLI::App& command);

}  // namespace corvo::tool
