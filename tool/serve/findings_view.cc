// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/findings_view.h"

#include <cstddef>
#include <vector>

#include "json/json_places.h"
#include "tool/finding_text.h"
#include "tool/first_few.h"
#include "tool/html.h"
#include "tool/text.h"

namespace corvo::tool {

using html::code;
using html::element;

namespace {

constexpr std::size_t kMostFindings = 200;
constexpr std::size_t kLongestMessage = 1'500;  // in bytes

std::string dropsOf(const Snapshot& snapshot) {
  if (!snapshot.project) return "";
  const std::vector<Project::Drop> drops = snapshot.project->drops();
  if (drops.empty()) return "";
  std::string lines;
  for (const auto& [pointer, reason, offset] : firstFew(drops, kMostFindings)) {
    const std::string place = corvo_internal::json::lineAndColumn(*snapshot.configuration, offset);
    lines += element("li", "", code(place) + " " + code(pointer) + " " + html::shown(reason));
  }
  return "<details data-key=\"drops\"><summary>Clients drop " + counted(drops.size(), "element") +
         "</summary>" + element("ul", "findings", lines) + "</details>";
}

std::string lineOf(const std::string& file, const Finding& finding) {
  const std::string place =
      file + ":" + std::to_string(finding.line) + ":" + std::to_string(finding.column);
  const std::string word(wordOf(finding.severity));
  const std::string pointer = finding.pointer.empty() ? "" : code(finding.pointer) + " ";
  return element("li", word,
                 element("strong", "", word) + " " + html::shown(finding.message, kLongestMessage) +
                     " " + element("span", "place", html::shown(place)) + " " + pointer +
                     code(finding.code));
}

}  // namespace

std::string findingsOf(const Snapshot& snapshot, const std::string& file) {
  std::string lines;
  const auto& findings = snapshot.findings;
  for (const Finding& each : firstFew(findings, kMostFindings)) {
    lines += lineOf(file, each);
  }
  if (findings.size() > kMostFindings) {
    lines += element("li", "", std::to_string(findings.size() - kMostFindings) + " more");
  }
  const std::string number = element("span", "count", std::to_string(findings.size()));
  return element("h2", "", "Findings " + number) +
         (lines.empty() ? element("p", "quiet", "Lint finds no mistakes.")
                        : element("ul", "findings", lines)) +
         dropsOf(snapshot);
}

}  // namespace corvo::tool
