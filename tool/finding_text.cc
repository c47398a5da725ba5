// SPDX-License-Identifier: Apache-2.0

#include "tool/finding_text.h"

namespace corvo::tool {

std::string_view wordOf(Finding::Severity severity) {
  return severity == Finding::Severity::error ? "error" : "warning";
}

std::string lineOf(const std::string& file, const Finding& finding, const Style& style) {
  const std::string place =
      file + ":" + std::to_string(finding.line) + ":" + std::to_string(finding.column) + ":";
  const std::string severity = std::string(wordOf(finding.severity)) + ":";
  const bool isError = finding.severity == Finding::Severity::error;
  return style.bold(place) + " " + (isError ? style.red(severity) : style.yellow(severity)) + " " +
         finding.message + " [" + std::string(finding.code) + "]";
}

}  // namespace corvo::tool
