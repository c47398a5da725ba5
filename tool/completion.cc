// SPDX-License-Identifier: Apache-2.0

#include "tool/completion.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <vector>

#include "tool/command_tree.h"

namespace corvo::tool {
namespace {

// For each command, its row sets four variables. words: possible words. options: its options. texts
// and files: the options that take a text or a file. choices: "--option=word" for options with
// fixed values.
constexpr const char* kHead = R"(# Completion of the corvo command in bash.

_corvo_command() {
  words='' options='' texts='' files='' choices='' arguments=''
  case $1 in
)";

constexpr const char* kTail = R"(    *) return 1 ;;
  esac
}

_corvo() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD-1]}
  local words options texts files choices arguments
  local command=corvo is_help='' is_value='' word IFS=$' \t\n'
  COMPREPLY=()
  _corvo_command corvo

  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    if [[ $word == = ]]; then
      continue
    elif [[ $is_value ]]; then
      is_value=''
    elif [[ " $texts $files " == *" $word "* ]]; then
      is_value=yes
    elif [[ $command == corvo && ($word == help || $word == man) ]]; then
      is_help=yes
    elif [[ " $words " == *" $word "* ]]; then
      command+=" $word"
      _corvo_command "$command"
    fi
  done

  if [[ $current == = ]]; then
    current=''
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD-2]}
  fi
  if [[ $is_help ]]; then
    COMPREPLY=($(compgen -W "$words" -- "$current"))
  elif [[ " $choices " == *" $previous="* ]]; then
    for word in $choices; do
      [[ $word != "$previous=$current"* ]] || COMPREPLY+=("${word#*=}")
    done
  elif [[ " $files " == *" $previous "* ]]; then
    _corvo_files
  elif [[ " $texts " == *" $previous "* ]]; then
    return
  elif [[ $current == -* ]]; then
    COMPREPLY=($(compgen -W "$options" -- "$current"))
  elif [[ $arguments == files ]]; then
    _corvo_files
  else
    COMPREPLY=($(compgen -W "$words" -- "$current"))
  fi
}

_corvo_files() {
  local IFS=$'\n'
  compopt -o filenames 2>/dev/null
  COMPREPLY=($(compgen -f -- "$current"))
}

complete -F _corvo corvo
)";

using Words = std::vector<std::string>;

std::string quoted(const Words& words) { return "'" + CLI::detail::join(words, " ") + "'"; }

/// The options of a command, its own and those inherited from the commands above it.
struct Case {
  Words words, options, texts, files, choices;
  bool takesFiles = false;

  void addOptions(const CLI::App& command) {
    for (const Parameter& each : optionsOf(command)) {
      for (const std::string& name : each.names) {
        if (std::ranges::find(options, name) != options.end()) continue;
        options.push_back(name);
        if (each.value.empty()) continue;
        (each.takesFile() ? files : texts).push_back(name);
        for (const std::string& choice : each.choices)
          choices.push_back(std::string(name).append("=").append(choice));
      }
    }
    if (command.get_fallthrough()) addOptions(*command.get_parent());
  }
};

void addRows(const CLI::App& command, std::string& script) {
  Case row;
  row.addOptions(command);
  for (const CLI::App* each : commandsOf(command)) row.words.push_back(each->get_name());
  for (const Parameter& each : argumentsOf(command)) {
    row.words.insert(row.words.end(), each.choices.begin(), each.choices.end());
    row.takesFiles |= each.takesFile();
  }
  script += "    '" + pathOf(command) + "')\n      words=" + quoted(row.words) +
            "\n      options=" + quoted(row.options) + "\n      texts=" + quoted(row.texts) +
            "\n      files=" + quoted(row.files) + "\n      choices=" + quoted(row.choices) +
            (row.takesFiles ? "\n      arguments=files" : "") + "\n      ;;\n";
  for (const CLI::App* each : commandsOf(command)) addRows(*each, script);
}

}  // namespace

std::string bashCompletion(const CLI::App& app) {
  std::string script = kHead;
  addRows(app, script);
  return script + kTail;
}

}  // namespace corvo::tool
