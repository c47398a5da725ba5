#pragma once

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
}

/// What help, man pages and completion are made of: the commands as they have added themselves to
/// the application, and what only people need to know of them.
namespace corvo::tool {

/// An option, or an argument without a name of its own.
struct Parameter {
  std::vector<std::string> names;  ///< "-h", "--help"; "NAME" of an argument.
  std::string value;               ///< What follows the name: "FILE"; empty for a switch.
  std::vector<std::string> choices;
  std::string help;
  std::string variable;  ///< The one of the environment that stands for it, or empty.
  bool isRequired = false;
  bool isRepeatable = false;

  [[nodiscard]] bool isOption() const;
  [[nodiscard]] bool takesFile() const;
  /// "-h, --help", "--config FILE", "[NAME]".
  [[nodiscard]] std::string title() const;
  /// The help, and what else there is to know of it.
  [[nodiscard]] std::string text() const;
};

/// The words that lead to it: "corvo ask flag".
[[nodiscard]] std::string pathOf(const CLI::App& command);

/// The commands right below it, in their order.
[[nodiscard]] std::vector<const CLI::App*> commandsOf(const CLI::App& command);
/// The one that the words lead to from there, or null.
[[nodiscard]] const CLI::App* commandAt(const CLI::App& root, std::span<const std::string> words);

[[nodiscard]] std::vector<Parameter> optionsOf(const CLI::App& command);
[[nodiscard]] std::vector<Parameter> argumentsOf(const CLI::App& command);

/// How it is called: "corvo ask --url URL [OPTION]... flag NAME".
[[nodiscard]] std::string usageOf(const CLI::App& command);

/// What the commands do not say themselves; either may be empty.
struct Notes {
  std::string_view about;
  std::string_view example;
};
[[nodiscard]] Notes notesOn(const CLI::App& command);

/// The exit statuses of all commands, and what they mean.
inline constexpr std::pair<const char*, const char*> kExitStatuses[] = {
    {"0", "done"},
    {"1", "failed, or the input was bad"},
    {"2", "wrong usage"},
    {"3", "found what was asked for: errors of lint"},
};

}  // namespace corvo::tool
