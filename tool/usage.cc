// SPDX-License-Identifier: Apache-2.0

#include "tool/usage.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <vector>

#include "base/nearest_word.h"
#include "tool/command_tree.h"

namespace corvo::tool {
namespace {

using Words = std::vector<std::string>;

/// Its text is the complete message.
class NoSuchCommand : public CLI::ParseError {
 public:
  explicit NoSuchCommand(const std::string& complaint)
      : ParseError(complaint, CLI::ExitCodes::ExtrasError) {}
};

void append(const Words& more, Words& words) {
  words.insert(words.end(), more.begin(), more.end());
}

Words namesOf(const std::vector<const CLI::App*>& commands) {
  Words names;
  for (const CLI::App* each : commands) names.push_back(each->get_name());
  return names;
}

/// The names of the options that may follow the command.
Words optionNamesOf(const CLI::App& command) {
  Words names;
  for (const Parameter& each : optionsOf(command)) {
    names.insert(names.end(), each.names.begin(), each.names.end());
  }
  if (command.get_fallthrough()) append(optionNamesOf(*command.get_parent()), names);
  return names;
}

std::string whereHelpIs(const CLI::App& command) {
  return "\nTry \"" + pathOf(command).insert(std::string("corvo").size(), " help") + "\".";
}

/// Says that the typed name does not exist, with a suggestion if possible.
std::string noSuch(const char* kind, const std::string& typed, const Words& known,
                   const CLI::App& command) {
  std::string text = pathOf(command) + ": there is no " + kind + " \"" + typed + "\"";
  const std::vector<std::string_view> words(known.begin(), known.end());
  const std::string meant(corvo_internal::base::nearestWord(typed, words));
  return text + (meant.empty() ? whereHelpIs(command) : "; did you mean \"" + meant + "\"?");
}

std::string unexpectedOption(const std::string& name, const CLI::App& command) {
  Words known = optionNamesOf(command);
  if (command.get_parent() == nullptr) {
    for (const CLI::App* each : commandsOf(command)) append(optionNamesOf(*each), known);
  }
  if (std::ranges::find(known, name) == known.end()) return noSuch("option", name, known, command);
  return "corvo: " + name + " must follow the command" + whereHelpIs(command);
}

/// Why an argument that no command accepted is invalid.
std::string unexpected(const std::string& argument, const CLI::App& command) {
  if (argument.starts_with('-') && argument != "-") {
    return unexpectedOption(argument.substr(0, argument.find('=')), command);
  }
  const Words commands = namesOf(commandsOf(command));
  if (!commands.empty()) return noSuch("command", argument, commands, command);
  return pathOf(command) + ": unexpected argument \"" + argument + "\"" + whereHelpIs(command);
}

/// The reason of an error, reworded if the parser's own text is hard to read.
std::string reasonOf(const CLI::ParseError& error, const CLI::App& command) {
  std::string reason = error.what();
  const Words commands = namesOf(commandsOf(command));
  if (!commands.empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
    return "a command is missing: one of " + CLI::detail::join(commands, ", ");
  }
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
    const std::string name = reason.substr(0, reason.find(':'));
    if (reason.ends_with(" missing")) return name + " needs a value";
    if (reason.starts_with(name + ": At Most 1 ")) return name + " must not be repeated";
  }
  if (dynamic_cast<const CLI::ConversionError*>(&error) != nullptr) {
    return "not a valid value: " + reason.substr(reason.find(": ") + 2);
  }
  return reason;
}

}  // namespace

const CLI::App& parsedCommand(const CLI::App& app) {
  const auto below = app.get_subcommands();
  return below.empty() ? app : parsedCommand(*below.front());
}

std::string complaintAbout(const CLI::App& app, const CLI::ParseError& error) {
  if (dynamic_cast<const NoSuchCommand*>(&error) != nullptr) return error.what();
  const CLI::App& command = parsedCommand(app);
  const Words left = app.remaining(true);
  if (!left.empty()) return unexpected(left.front(), command);
  return pathOf(command) + ": " + reasonOf(error, command) + whereHelpIs(command);
}

const CLI::App& commandNamed(const CLI::App& app, std::span<const std::string> words) {
  const CLI::App* command = &app;
  for (const std::string& word : words) {
    const CLI::App* const below = commandAt(*command, {&word, 1});
    if (below == nullptr) throw NoSuchCommand(unexpected(word, *command));
    command = below;
  }
  return *command;
}

}  // namespace corvo::tool
