// SPDX-License-Identifier: Apache-2.0

#include "tool/help.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>
#include <utility>
#include <vector>

#include "tool/command_tree.h"

namespace corvo::tool {
namespace {

constexpr std::size_t kWidth = 80;
constexpr std::size_t kMostTitle = 24;

/// Wraps the text. All lines but the first are indented to the column.
std::string wrapped(std::string_view text, std::size_t column) {
  std::string all;
  std::size_t at = column;
  for (const std::string& word : CLI::detail::split(std::string(text), ' ')) {
    if (at > column && at + 1 + word.size() > kWidth) {
      all += "\n" + std::string(column, ' ');
      at = column;
    } else if (at > column) {
      all += ' ';
      ++at;
    }
    all += word;
    at += word.size();
  }
  return all + "\n";
}

/// The left column of a line, and the explanation on the right.
using Line = std::pair<std::string, std::string>;

std::string section(const std::string& heading, const std::vector<Line>& lines) {
  if (lines.empty()) return "";
  std::size_t width = 0;
  for (const auto& [title, text] : lines) {
    if (title.size() <= kMostTitle) width = std::max(width, title.size());
  }
  std::string all = "\n" + heading + ":\n";
  const std::size_t column = 2 + width + 2;
  for (const auto& [title, text] : lines) {
    all += "  " + title;
    const bool fits = title.size() <= width;
    all += fits ? std::string(column - 2 - title.size(), ' ') : "\n" + std::string(column, ' ');
    all += wrapped(text, column);
  }
  return all;
}

std::vector<Line> linesOf(const std::vector<Parameter>& parameters) {
  std::vector<Line> lines;
  lines.reserve(parameters.size());
  for (const Parameter& each : parameters) lines.emplace_back(each.title(), each.text());
  return lines;
}

}  // namespace

std::string helpOn(const CLI::App& command) {
  const auto [about, example] = notesOn(command);
  const CLI::App* const parent = command.get_parent();
  std::string text = command.get_description() + ".\n\nUsage: " + wrapped(usageOf(command), 7);
  if (!about.empty()) text += "\n" + wrapped(about, 0);

  std::vector<Line> commands;
  for (const CLI::App* each : commandsOf(command)) {
    std::string title = each->get_name();
    for (const Parameter& argument : argumentsOf(*each)) title.append(" ").append(argument.title());
    commands.emplace_back(title, each->get_description());
  }
  text += section("Commands", commands);
  std::vector<Parameter> arguments = argumentsOf(command);
  std::erase_if(arguments, [](const Parameter& each) { return each.help.empty(); });
  text += section("Arguments", linesOf(arguments));
  for (const auto& [heading, options] : groupsOf(optionsOf(command))) {
    text += section(heading, linesOf(options));
  }
  if (parent != nullptr && parent->get_parent() != nullptr) {
    text += "\nThe options of \"" + pathOf(*parent) + "\" apply, too: see \"corvo help " +
            parent->get_name() + "\".\n";
  }
  if (!example.empty()) text += "\nExample:\n  " + std::string(example) + "\n";
  if (parent == nullptr) {
    text += section("Exit status", {std::begin(kExitStatuses), std::end(kExitStatuses)});
  }
  return text;
}

}  // namespace corvo::tool
