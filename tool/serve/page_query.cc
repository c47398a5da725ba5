// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/page_query.h"

#include <CLI/CLI.hpp>
#include <sstream>
#include <string_view>

namespace corvo::tool {
namespace {

/// The lines of a text field, without those that are blank. Browsers end them with CR and LF.
std::vector<std::string> filledLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (line.find_first_not_of(" \t") != std::string::npos) lines.push_back(line);
  }
  return lines;
}

}  // namespace

PageQuery::PageQuery(const HttpRequest& request)
    : only(request.parameter("only")), isAsked(request.query.contains("userId")) {
  const std::string userId = request.parameter("userId");
  if (!userId.empty()) subject.userId = userId;
  subject.properties = filledLines(request.parameter("properties"));
  for (const std::string& each : subject.properties) {
    if (complaint.empty()) complaint = complainAboutProperty(each);
  }
  const std::string now = request.parameter("now");
  const std::string zone = request.parameter("zone");
  if (!now.empty()) surroundings.now = now;
  if (!zone.empty()) surroundings.zone = zone;
  try {
    static_cast<void>(Surroundings(surroundings));
  } catch (const CLI::ParseError& error) {
    const std::string_view message = error.what();  // begins with the name of an option
    complaint = message.substr(message.find(": ") + 2);
  }
}

}  // namespace corvo::tool
