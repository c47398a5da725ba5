// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>

namespace CLI {
class App;
class ParseError;
}  // namespace CLI

namespace corvo::tool {

/// The message for arguments that could not be parsed, without a final newline. It has a second
/// line that points to the help, unless the first one has a suggestion.
[[nodiscard]] std::string complaintAbout(const CLI::App& app, const CLI::ParseError& error);

/// The command that the words lead to. Throws a `CLI::ParseError` if there is none.
[[nodiscard]] const CLI::App& commandNamed(const CLI::App& app, std::span<const std::string> words);

/// The innermost command that the arguments name.
[[nodiscard]] const CLI::App& parsedCommand(const CLI::App& app);

}  // namespace corvo::tool
