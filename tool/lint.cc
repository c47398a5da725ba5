// SPDX-License-Identifier: Apache-2.0

#include <corvo/json_value.h>
#include <corvo/lint.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tool/commands.h"
#include "tool/failure.h"
#include "tool/finding_text.h"
#include "tool/input.h"
#include "tool/output.h"
#include "tool/report.h"
#include "tool/style.h"

namespace corvo::tool {
namespace {

struct LintOptions {
  std::vector<std::string> files;
  Colour colour = Colour::automatic;
  bool strict = false;
  bool json = false;
};

struct Checked {
  std::string file;
  std::vector<Finding> findings;
};

JsonValue inJson(const std::string& file, const Finding& finding) {
  return JsonObject{{"code", std::string(finding.code)},
                    {"severity", std::string(wordOf(finding.severity))},
                    {"file", file},
                    {"pointer", finding.pointer},
                    {"line", numberOf(finding.line)},
                    {"column", numberOf(finding.column)},
                    {"message", finding.message}};
}

std::string inJson(const std::vector<Checked>& all) {
  JsonArray findings;
  for (const auto& [file, found] : all) {
    for (const Finding& each : found) findings.push_back(inJson(file, each));
  }
  return toJson(JsonObject{{"findings", std::move(findings)}}) + "\n";
}

std::string forPeople(const std::vector<Checked>& all, const Style& style) {
  std::string text;
  for (const auto& [file, found] : all) {
    for (const Finding& each : found) text += lineOf(file, each, style) + "\n";
  }
  return text;
}

bool isWorse(const Finding& finding, bool strict) {
  return strict || finding.severity == Finding::Severity::error;
}

/// A file that cannot be read is reported, and the others are still checked.
int lintAll(const LintOptions& options) {
  std::vector<Checked> all;
  std::string unread;
  for (const std::string& file : options.files) {
    try {
      all.push_back({shownName(file), lint(readInput(file))});
    } catch (const Failure& failure) {
      unread += (unread.empty() ? "" : "\n") + std::string(failure.what());
    }
  }
  print(options.json ? inJson(all) : forPeople(all, Style(options.colour)));
  const bool isFound = std::ranges::any_of(all, [&](const Checked& each) {
    return std::ranges::any_of(
        each.findings, [&](const Finding& finding) { return isWorse(finding, options.strict); });
  });
  if (!unread.empty()) throw Failure("cannot-read", unread);
  return isFound ? kFound : kDone;
}

}  // namespace

void addLint(CLI::App& app, int& status) {
  auto options = std::make_shared<LintOptions>();
  CLI::App& command = *app.add_subcommand("lint", "Check configuration documents for mistakes");
  command.add_option("FILE", options->files, "The documents; - is standard input")->required();
  command.add_flag("--strict", options->strict, "Exit with status 3 for warnings, too");
  addColourOption(command, options->colour);
  command.add_flag("--json", options->json, "Print JSON");
  command.callback([options, &status] {
    if (std::ranges::count(options->files, kStandardInput) > 1) {
      throw CLI::ValidationError("FILE", "standard input can be read only once");
    }
    status = lintAll(*options);
  });
}

}  // namespace corvo::tool
