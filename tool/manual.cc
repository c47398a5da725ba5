// SPDX-License-Identifier: Apache-2.0

#include "tool/manual.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "tool/command_tree.h"
#include "tool/completion.h"
#include "tool/help.h"
#include "tool/man_page.h"
#include "tool/output.h"
#include "tool/usage.h"

namespace corvo::tool {
namespace {

using Words = std::vector<std::string>;

/// Adds a command that prints a text about the command that its arguments name.
void addPrinter(CLI::App& app, const char* name, const char* description, int mostWords,
                std::string (*textOn)(const CLI::App&)) {
  CLI::App& command = *app.add_subcommand(name, description);
  auto words = std::make_shared<Words>();
  command.add_option("COMMAND", *words, "By default corvo itself")->expected(0, mostWords);
  command.callback([&app, words, textOn] { print(textOn(commandNamed(app, *words))); });
}

}  // namespace

void addManual(CLI::App& app) {
  addPrinter(app, "help", "Show what a command does and how to use it", 2, helpOn);
  addPrinter(app, "man", "Print the manual page of a command", 1, manPageOn);

  CLI::App& completion =
      *app.add_subcommand("completion", "Print a script that completes commands");
  completion.add_option("SHELL", "The shell to complete for")
      ->required()
      ->check(CLI::IsMember({"bash"}));
  completion.callback([&app] { print(bashCompletion(app)); });
}

}  // namespace corvo::tool
