#pragma once

namespace CLI {
class App;
}

namespace corvo::tool {

/// The commands `help`, `man` and `completion`, which tell of all commands that the application has
/// once it is parsed.
void addManual(CLI::App& app);

}  // namespace corvo::tool
