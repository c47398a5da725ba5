// SPDX-License-Identifier: Apache-2.0

#include "tool/man_page.h"

#include <corvo/version.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <string_view>
#include <vector>

#include "tool/command_tree.h"

namespace corvo::tool {
namespace {

/// Escapes a text for roff: hyphens appear as typed, and no line is taken for a request.
std::string plain(std::string_view text) {
  std::string all;
  for (const char each : text) {
    if (each == '\\') {
      all += "\\e";
    } else if (each == '-') {
      all += "\\-";
    } else if (each == '\'') {
      all += "\\(aq";
    } else {
      all += each;
    }
  }
  return all.starts_with('.') ? "\\&" + all : all;
}

std::string bold(std::string_view text) { return "\\fB" + plain(text) + "\\fR"; }

std::string heading(const char* name) { return std::string(".SH ") + name + "\n"; }
std::string paragraph(const std::string& title, std::string_view text) {
  return ".TP\n" + title + "\n" + plain(text) + "\n";
}
std::string example(std::string_view line) {
  return ".PP\n.nf\n.RS\n" + plain(line) + "\n.RE\n.fi\n";
}

/// The name of the command's page: "corvo-ask".
std::string pageOf(const CLI::App& command) {
  std::string name = pathOf(command);
  std::ranges::replace(name, ' ', '-');
  return name;
}

std::string parameters(const CLI::App& command, bool isPart) {
  std::string text;
  for (const Parameter& each : argumentsOf(command)) {
    if (!each.help.empty()) text += paragraph(bold(each.title()), each.text());
  }
  const std::vector<Group> groups = groupsOf(optionsOf(command));
  for (const auto& [heading, options] : groups) {
    if (groups.size() > 1) text += ".SS " + plain(heading) + "\n";
    for (const Parameter& each : options) {
      const bool isKnown = isPart && each.names.back() == "--help";
      if (!isKnown) text += paragraph(bold(each.title()), each.text());
    }
  }
  return text;
}

/// A subcommand that is described on its parent's page.
std::string part(const CLI::App& command) {
  const Notes notes = notesOn(command);
  std::string text = ".SS " + plain(pathOf(command)) + "\n" + bold(usageOf(command)) + "\n.PP\n" +
                     plain(command.get_description()) + ".\n";
  if (!notes.about.empty()) text += plain(notes.about) + "\n";
  text += parameters(command, true);
  if (!notes.example.empty()) text += example(notes.example);
  return text;
}

std::string environment(const CLI::App& command) {
  struct Variable {
    const char* name;
    const char* option;
    const char* text;
  };
  constexpr Variable kVariables[] = {
      {"NO_COLOR", "--color", "If set and not empty, colours are off by default."},
      {"TZDIR", "--zone", "The folder of the time zone database, if it is not the system's."},
  };
  std::string text;
  for (const Parameter& each : optionsOf(command)) {
    if (!each.variable.empty()) {
      text += paragraph(bold(each.variable), "Stands for " + each.names.back() + ".");
    }
    for (const auto& [name, option, says] : kVariables) {
      if (each.names.back() == option) text += paragraph(bold(name), says);
    }
  }
  return text.empty() ? "" : heading("ENVIRONMENT") + text;
}

std::string seeAlso(const CLI::App& command) {
  const CLI::App* const parent = command.get_parent();
  std::vector<std::string> pages;
  if (parent != nullptr) pages.push_back(pageOf(*parent));
  for (const CLI::App* each : parent == nullptr ? commandsOf(command) : commandsOf(*parent)) {
    if (each != &command) pages.push_back(pageOf(*each));
  }
  for (std::string& each : pages) each = bold(each) + "(1)";
  return heading("SEE ALSO") + CLI::detail::join(pages, ",\n") + "\n";
}

}  // namespace

std::string manPageOn(const CLI::App& command) {
  const bool isRoot = command.get_parent() == nullptr;
  const Notes notes = notesOn(command);
  const std::string& description = command.get_description();
  std::string text = ".TH \"" + plain(pageOf(command)) +
                     "\" 1 \"\" \"corvo " CORVO_VERSION "\" \"User Commands\"\n";
  text += heading("NAME") + plain(pageOf(command)) + " \\- " + plain(description) + "\n";
  text += heading("SYNOPSIS") + bold(usageOf(command)) + "\n";
  text += heading("DESCRIPTION") + plain(description) + ".\n";
  if (!notes.about.empty()) text += ".PP\n" + plain(notes.about) + "\n";
  if (const std::string own = parameters(command, false); !own.empty())
    text += heading("OPTIONS") + own;

  if (const auto commands = commandsOf(command); !commands.empty()) {
    text += heading("COMMANDS");
    for (const CLI::App* each : commands) {
      text += isRoot ? paragraph(bold(usageOf(*each)), each->get_description() + ".") : part(*each);
    }
  }
  text += environment(command) + heading("EXIT STATUS");
  for (const auto& [status, meaning] : kExitStatuses) text += paragraph(bold(status), meaning);
  if (!notes.example.empty()) text += heading("EXAMPLES") + example(notes.example);
  return text + seeAlso(command);
}

}  // namespace corvo::tool
