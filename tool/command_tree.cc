// SPDX-License-Identifier: Apache-2.0

#include "tool/command_tree.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>

namespace corvo::tool {
namespace {

struct Row {
  const char* path;
  Notes notes;
};

// A row may be missing for a command, and a row may exist without a command.
constexpr Row kNotes[] = {
    {"corvo", {"", "corvo help ask"}},
    {"corvo serve",
     {"With --config it is a backend, whose address shows the project in a browser. With --url it "
      "is a relay of another backend. Either answers OpenFeature clients (OFREP). A document that "
      "clients cannot decode is still served; standard error says where the fault is.",
      "corvo serve --config config.json --geo geo.json --port 8080"}},
    {"corvo ask",
     {"Nothing is written to disk unless --store names a file. A user described on the command "
      "line replaces the one in that file and expires after one day.",
      "corvo ask --url http://127.0.0.1:8080 --token t --user-id ann flags"}},
    {"corvo ask flag", {"", "corvo ask --config config.json --user-id ann flag welcome-text"}},
    {"corvo ask flags", {"", "corvo ask --config config.json --property custom.basket=150 flags"}},
    {"corvo ask experiment",
     {"", "corvo ask --config config.json --user-id ann experiment short-checkout"}},
    {"corvo ask experiments", {"", "corvo ask --config config.json --user-id ann experiments"}},
    {"corvo ask holdout",
     {"", "corvo ask --config config.json --user-id ann holdout quiet-customers"}},
    {"corvo ask holdouts", {"", "corvo ask --config config.json --user-id ann holdouts"}},
    {"corvo ask details", {"", "corvo ask --config config.json --user-id ann details"}},
    {"corvo ask force",
     {"This bypasses allocation, layer and targeting, but not holdouts. With --store, later "
      "calls with the same file apply it to their user, until unforce.",
      "corvo ask --config config.json --user-id ann --store ann.db force "
      "short-checkout"}},
    {"corvo ask unforce", {"", "corvo ask --config config.json --store ann.db unforce --all"}},
    {"corvo explain",
     {"It shows the steps that lead to the answer, in order, and marks those that decide it. "
      "An error is explained like any other answer.",
      "corvo explain flag welcome-text --config config.json --user-id ann"}},
    {"corvo explain flag",
     {"", "corvo explain flag welcome-text --config config.json --user-id ann"}},
    {"corvo explain experiment",
     {"", "corvo explain experiment short-checkout --config config.json --user-id ann"}},
    {"corvo lint",
     {"An error means that something is dropped or cannot work. A warning means that something is "
      "probably not intended. The exit status is 3 if there is an error or, with --strict, a "
      "warning.",
      "corvo lint config.json"}},
    {"corvo assign",
     {"Each line has the format of a --user file. It may add an \"id\", and \"geo\", \"device\", "
      "\"now\" and \"zone\", which override the options. Each line gets one answer line, in the "
      "same order.",
      "corvo assign --config config.json < users.jsonl > answers.jsonl"}},
    {"corvo diff",
     {"OLD and NEW are files, or base URLs of backends. Both are asked about the same users. The "
      "output shows the flags, experiments and holdouts whose users get another answer, and the "
      "first step in which the explanations of the two answers differ.",
      "corvo diff http://127.0.0.1:8080 config.json --token t"}},
    {"corvo simulate",
     {"It says who is out of each experiment and why, compares the users of the groups with their "
      "shares, and lists overlaps. A group's share is exact: it comes from the arithmetic of the "
      "hash, which divides users a little differently than the weights say.",
      "corvo simulate --config config.json --users 10000"}},
    {"corvo help", {"", "corvo help ask flag"}},
    {"corvo man", {"", "corvo man ask > corvo-ask.1"}},
    {"corvo completion",
     {"To enable it in every shell, add the example to ~/.bashrc.",
      "source <(corvo completion bash)"}},
};

std::vector<std::string> split(const std::string& text, char by) {
  std::vector<std::string> parts;
  for (std::size_t from = 0; from <= text.size();) {
    const std::size_t end = std::min(text.find(by, from), text.size());
    parts.push_back(text.substr(from, end - from));
    from = end + 1;
  }
  return parts;
}

/// The words of "TEXT:{always,never}" and "WHEN:value in {always->1,never->2} OR {1,2}".
std::vector<std::string> choicesOf(const std::string& type) {
  const std::size_t begin = type.find('{');
  if (begin == std::string::npos) return {};
  const std::size_t end = std::min(type.find('}', begin), type.size());
  std::vector<std::string> choices = split(type.substr(begin + 1, end - begin - 1), ',');
  for (std::string& each : choices) each = each.substr(0, each.find("->"));
  return choices;
}

/// The placeholder for a value whose type is "TEXT", "TEXT:FILE", "SECONDS:POSITIVE" or
/// "TEXT:{a,b}".
std::string valueOf(const std::string& type, const std::vector<std::string>& choices) {
  const std::size_t colon = type.find(':');
  std::string name = type.substr(0, colon);
  if (name == "INT" || name == "UINT" || name == "FLOAT") return "NUMBER";
  if (name != "TEXT" || colon == std::string::npos) return name;
  return choices.empty() ? type.substr(colon + 1) : CLI::detail::join(choices, "|");
}

Parameter parameterOf(const CLI::Option& option) {
  Parameter parameter;
  const bool isSwitch = option.get_type_size() == 0;
  if (option.get_positional()) {
    parameter.names.push_back(option.get_name(true));
  } else {
    for (const std::string& each : option.get_snames()) parameter.names.push_back("-" + each);
    for (const std::string& each : option.get_lnames()) parameter.names.push_back("--" + each);
  }
  if (!isSwitch) {
    parameter.choices = choicesOf(option.get_type_name());
    parameter.value = valueOf(option.get_type_name(), parameter.choices);
  }
  parameter.help = option.get_description();
  parameter.group = option.get_group();
  parameter.variable = option.get_envname();
  parameter.isRequired = option.get_required();
  parameter.isRepeatable = !isSwitch && option.get_expected_max() > 1;
  return parameter;
}

std::vector<Parameter> parametersOf(const CLI::App& command, bool positional) {
  std::vector<Parameter> all;
  for (const CLI::Option* each : command.get_options(nullptr)) {
    const bool isHidden = each->get_group().empty();
    if (!isHidden && each->get_positional() == positional) all.push_back(parameterOf(*each));
  }
  // Every command declares its help option first, but it is the least important one to read.
  std::stable_partition(all.begin(), all.end(),
                        [](const Parameter& each) { return each.names.back() != "--help"; });
  return all;
}

std::string calledAs(const CLI::App& command) {
  const CLI::App* const parent = command.get_parent();
  std::string call = parent == nullptr ? "" : calledAs(*parent) + " ";
  call += command.get_name();
  bool hasMore = false;
  for (const Parameter& each : optionsOf(command)) {
    const std::string& name = each.names.back();
    if (each.isRequired) call += " " + name + " " + each.value;
    hasMore |= !each.isRequired && name != "--help" && name != "--version";
  }
  if (hasMore) call += " [OPTION]...";
  for (const Parameter& each : argumentsOf(command)) call += " " + each.title();
  return call;
}

}  // namespace

bool Parameter::takesFile() const { return value == "FILE" || names.front() == "FILE"; }

bool Parameter::isOption() const { return names.front().starts_with('-'); }

std::string Parameter::title() const {
  const std::string all = CLI::detail::join(names, ", ");
  if (isOption()) return value.empty() ? all : all + " " + value;
  const std::string name = isRepeatable ? all + "..." : all;
  return isRequired ? name : "[" + name + "]";
}

std::string Parameter::text() const {
  std::string all = help;
  if (isRequired && isOption()) all += "; required";
  return variable.empty() ? all : all + " [$" + variable + "]";
}

std::string pathOf(const CLI::App& command) {
  const CLI::App* const parent = command.get_parent();
  return parent == nullptr ? command.get_name() : pathOf(*parent) + " " + command.get_name();
}

std::vector<const CLI::App*> commandsOf(const CLI::App& command) {
  return command.get_subcommands(
      [](const CLI::App* each) { return !each->get_name().empty() && !each->get_group().empty(); });
}

const CLI::App* commandAt(const CLI::App& root, std::span<const std::string> words) {
  const CLI::App* command = &root;
  for (const std::string& word : words) {
    const auto commands = commandsOf(*command);
    const auto found = std::ranges::find(commands, word, &CLI::App::get_name);
    if (found == commands.end()) return nullptr;
    command = *found;
  }
  return command;
}

std::vector<Parameter> optionsOf(const CLI::App& command) { return parametersOf(command, false); }
std::vector<Parameter> argumentsOf(const CLI::App& command) { return parametersOf(command, true); }

std::vector<Group> groupsOf(const std::vector<Parameter>& options) {
  std::vector<Group> groups;
  for (const Parameter& each : options) {
    auto group = std::ranges::find(groups, each.group, &Group::heading);
    if (group == groups.end()) group = groups.insert(group, {each.group, {}});
    group->options.push_back(each);
  }
  return groups;
}

std::string usageOf(const CLI::App& command) {
  const bool hasCommands = !commandsOf(command).empty();
  return calledAs(command) + (hasCommands ? " COMMAND [ARGUMENT]..." : "");
}

Notes notesOn(const CLI::App& command) {
  const auto* const row = std::ranges::find(kNotes, pathOf(command), &Row::path);
  return row == std::end(kNotes) ? Notes() : row->notes;
}

}  // namespace corvo::tool
