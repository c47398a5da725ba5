// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

/// The source of help, man pages and completion: the commands as they were added to the
/// application, and notes for people.
namespace corvo::tool {

/// An option, or a positional argument.
struct Parameter {
  std::vector<std::string> names;  ///< "-h", "--help"; "NAME" of an argument.
  std::string value;               ///< The placeholder after the name: "FILE"; empty for a switch.
  std::vector<std::string> choices;
  std::string help;
  std::string group;     ///< The heading for it among the options of its command.
  std::string variable;  ///< The environment variable that can replace it, or empty.
  bool isRequired = false;
  bool isRepeatable = false;

  [[nodiscard]] bool isOption() const;
  [[nodiscard]] bool takesFile() const;
  /// "-h, --help", "--config FILE", "[NAME]".
  [[nodiscard]] std::string title() const;
  /// The help with further remarks.
  [[nodiscard]] std::string text() const;
};

/// The words that lead to it: "corvo ask flag".
[[nodiscard]] std::string pathOf(const CLI::App& command);

/// The direct subcommands, in their order.
[[nodiscard]] std::vector<const CLI::App*> commandsOf(const CLI::App& command);
/// The command that the words lead to from `root`, or null.
[[nodiscard]] const CLI::App* commandAt(const CLI::App& root, std::span<const std::string> words);

[[nodiscard]] std::vector<Parameter> optionsOf(const CLI::App& command);
[[nodiscard]] std::vector<Parameter> argumentsOf(const CLI::App& command);

/// Options under one heading.
struct Group {
  std::string heading;
  std::vector<Parameter> options;
};
/// The options by group, each in its order.
[[nodiscard]] std::vector<Group> groupsOf(const std::vector<Parameter>& options);

/// The usage: "corvo ask --url URL [OPTION]... flag NAME".
[[nodiscard]] std::string usageOf(const CLI::App& command);

/// Further text about a command. Either part may be empty.
struct Notes {
  std::string_view about;
  std::string_view example;
};
[[nodiscard]] Notes notesOn(const CLI::App& command);

/// The exit statuses of all commands, and what they mean.
inline constexpr std::pair<const char*, const char*> kExitStatuses[] = {
    {"0", "done"},
    {"1", "failed, or the input was invalid"},
    {"2", "wrong usage"},
    {"3", "lint found errors, or diff users who change groups"},
};

}  // namespace corvo::tool
