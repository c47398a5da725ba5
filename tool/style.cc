// SPDX-License-Identifier: Apache-2.0

#include "tool/style.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <map>

#include "tool/terminal.h"

namespace corvo::tool {
namespace {

const std::map<std::string, Colour>& words() {
  static const std::map<std::string, Colour> all{
      {"always", Colour::always}, {"auto", Colour::automatic}, {"never", Colour::never}};
  return all;
}

bool hasColours(Colour colour) {
  if (colour != Colour::automatic) return colour == Colour::always;
  const char* const none = std::getenv("NO_COLOR");
  const char* const terminal = std::getenv("TERM");
  return (none == nullptr || *none == '\0') && isTerminal(stdout) &&
         (terminal == nullptr || std::string_view(terminal) != "dumb");
}

}  // namespace

void addColourOption(CLI::App& command, Colour& colour) {
  command
      .add_option_function<std::string>(
          "--color", [&colour](const std::string& word) { colour = words().at(word); },
          "When to use colours: always, auto or never")
      ->check(CLI::IsMember(words()))
      ->type_name("WHEN");
}

Style::Style(Colour colour) : hasColours_(hasColours(colour)) {}

std::string Style::in(const char* code, std::string_view text) const {
  if (!hasColours_) return std::string(text);
  return std::string("\x1b[") + code + "m" + std::string(text) + "\x1b[0m";
}

}  // namespace corvo::tool
