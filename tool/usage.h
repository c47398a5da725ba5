#pragma once

#include <span>
#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace corvo::tool {

/// What to tell somebody whose arguments the application could not parse, without the line's end: a
/// line, and one that says where help is unless the first has a suggestion.
[[nodiscard]] std::string complaintAbout(const CLI::App& app, const CLI::ParseError& error);

/// The command that the words lead to. Throws a `CLI::ParseError` when there is none.
[[nodiscard]] const CLI::App& commandNamed(const CLI::App& app, std::span<const std::string> words);

/// The last of the commands that the arguments have named.
[[nodiscard]] const CLI::App& parsedCommand(const CLI::App& app);

}  // namespace corvo::tool
