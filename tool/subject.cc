// SPDX-License-Identifier: Apache-2.0

#include "tool/subject.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <iostream>
#include <set>
#include <utility>

#include "json/json_places.h"
#include "tool/failure.h"
#include "tool/input.h"
#include "tool/text.h"

namespace corvo::tool {

using namespace corvo_internal;

namespace {

[[noreturn]] void refuse(const std::string& file, const std::string& text, std::size_t place,
                         const std::string& reason) {
  throw Failure("bad-user",
                shownName(file) + ":" + json::lineAndColumn(text, place) + ": " + reason);
}

}  // namespace

std::string complainAboutProperty(const std::string& text) {
  const std::size_t equals = text.find('=');
  return equals == 0 || equals == std::string::npos ? "expected NAME=TEXT, not " + text : "";
}

void addSubjectOptions(CLI::App& command, SubjectOptions& options) {
  command
      .add_option(
          "--user", options.file,
          "Read the user from a file, {\"properties\": {NAME: TEXT, ...}}; - is standard input")
      ->check(complainAboutName)
      ->type_name("FILE");
  command.add_option("--user-id", options.userId, "The user's identifier");
  command.add_option("--property", options.properties, "A property of the user; may be repeated")
      ->check(CLI::Validator(complainAboutProperty, "NAME=TEXT"))
      ->allow_extra_args(false);
}

Subject::Subject(const SubjectOptions& options) {
  if (!options.file.empty()) {
    const std::string text = readInput(options.file);
    const json::JsonPlaces places = json::jsonPlaces(text);
    if (places.fault) refuse(options.file, text, places.fault->place, places.fault->reason);
    tree_ = std::make_unique<const json::JsonTree>(text);
    if (const PerhapsFault fault = read_.read(*tree_->root())) {
      const auto node = static_cast<std::size_t>(fault->node - tree_->root());
      refuse(options.file, text, places.nodes.at(node), fault->reason);
    }
  }
  if (options.userId) given_.properties.emplace_back("userId", *options.userId);
  for (const std::string_view property : options.properties) {
    const std::size_t equals = property.find('=');
    given_.properties.emplace_back(property.substr(0, equals), property.substr(equals + 1));
  }
}

void Subject::describe(EvaluationContext& context) { described_.describe(documents(), context); }

CorvoUser Subject::record(std::string_view expiry) const { return recordOf(documents(), expiry); }

std::vector<std::string_view> Subject::unread(const Project& project) const {
  std::vector<std::string_view> given;
  for (const UserDocument* document : documents()) {
    for (const auto& [name, text] : document->properties) given.push_back(name);
  }
  return unusedOf(given, {&project});
}

void Subject::warnOfUnread(const Project& project) const {
  warnOfUnused(unread(project), {&project});
}

std::vector<std::string_view> unusedOf(std::span<const std::string_view> properties,
                                       std::initializer_list<const Project*> projects) {
  std::set<std::string, std::less<>> known{"corvoExpiration"};  // the expiry of "userId"
  for (const Project* project : projects) {
    for (std::string& name : project->properties()) known.insert(std::move(name));
  }
  std::vector<std::string_view> unused;
  for (const std::string_view name : properties) {
    if (known.emplace(name).second) unused.push_back(name);
  }
  return unused;
}

void warnOfUnused(std::span<const std::string_view> properties,
                  std::initializer_list<const Project*> projects) {
  const char* const message = projects.size() == 1
                                  ? "warning: the project does not use the property \""
                                  : "warning: neither project uses the property \"";
  for (const std::string_view name : unusedOf(properties, projects)) {
    std::cerr << message + visible(name) + "\"\n";
  }
}

}  // namespace corvo::tool
