// SPDX-License-Identifier: Apache-2.0

#include <corvo/lint.h>
#include <corvo/property.h>
#include <corvo/user_builder.h>
#include <gtest/gtest.h>

#include <set>

#include "json/json_places.h"
#include "lint/codes.h"
#include "tests/base/case_table.h"
#include "tests/lint/framed.h"

namespace corvo {
namespace {

using corvo_internal::lint::kCodes;
using tests::Framed;
using tests::framed;

std::string allOf(const std::vector<Finding>& findings) {
  std::string all;
  for (const Finding& each : findings) {
    all += std::string(each.code) + " " + each.pointer + ": " + each.message + "\n";
  }
  return all;
}

/// "code@pointer" of each finding, separated by blanks; pointers are relative to the part.
std::string found(const Framed& frame) {
  std::string all;
  for (const Finding& finding : lint(frame.text)) {
    const bool isInside = finding.pointer.starts_with(frame.pointer);
    all += (all.empty() ? "" : " ") + std::string(finding.code) + "@" +
           (isInside ? finding.pointer.substr(frame.pointer.size()) : "^" + finding.pointer);
  }
  return all;
}

TEST(Lint, FindsWhatTheTableSaysAndNothingElse) {
  for (const auto& [part, expected, message] :
       tests::caseTable<3>(CORVO_LINT_CASES "findings.txt")) {
    const Framed frame = framed(tests::unfolded(part));
    EXPECT_EQ(found(frame), expected) << part << "\n" << allOf(lint(frame.text));
    if (message.empty()) continue;
    EXPECT_EQ(lint(frame.text).at(0).message, message) << part;
  }
}

TEST(Lint, SaysNothingAboutTheSampleShop) {
  EXPECT_EQ(allOf(lint(tests::contentsOf(CORVO_SHOP))), "");
}

/// The section of the documentation about a code.
struct Section {
  std::string code;
  std::string severity;
  std::string example;
  std::set<std::string> codes;  ///< All codes that the example causes.
};

std::vector<Section> sections() {
  std::vector<Section> all;
  std::ifstream file(CORVO_DOCS "lint.md");
  bool inExample = false;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("### ")) all.push_back({line.substr(4), "", "", {line.substr(4)}});
    if (all.empty()) continue;
    Section& last = all.back();
    if (line == "```") inExample = false;
    if (inExample) last.example += line + "\n";
    if (line == "```json") inExample = true;
    if (line.starts_with("Error. ")) last.severity = "error";
    if (line.starts_with("Warning. ")) last.severity = "warning";
    if (line.starts_with("Also: `")) last.codes.insert(line.substr(7, line.find('`', 7) - 7));
  }
  return all;
}

TEST(Lint, IsDocumentedInTheOrderOfItsCodes) {
  const auto documented = sections();
  ASSERT_EQ(documented.size(), kCodes.size());
  for (std::size_t i = 0; i < kCodes.size(); ++i) {
    const Section& section = documented[i];
    EXPECT_EQ(section.code, kCodes.at(i).text);
    EXPECT_EQ(section.severity == "error", kCodes.at(i).severity == Finding::Severity::error)
        << section.code;
    const auto findings = lint(framed(section.example).text);
    std::set<std::string> codes;
    for (const Finding& finding : findings) codes.emplace(finding.code);
    EXPECT_EQ(codes, section.codes) << section.code << "\n" << allOf(findings);
  }
}

TEST(Lint, ReportsPlacesInDocumentOrder) {
  for (const auto& [document, expected] : tests::caseTable<2>(CORVO_LINT_CASES "places.txt")) {
    std::string all;
    for (const Finding& finding : lint(document)) {
      all += (all.empty() ? "" : " ") + std::string(finding.code) + "@" +
             std::to_string(finding.offset) + "=" + std::to_string(finding.line) + ":" +
             std::to_string(finding.column);
    }
    EXPECT_EQ(all, expected) << document;
  }
}

TEST(Lint, KnowsEveryPropertyThatABuilderSets) {
  CorvoUser::Builder user;
  user.setUserId("1").setProfileId("1").setDeviceId("1").setAppVersion("1").setOsName("1");
  user.setOsVersion("1").setGeoCode("1").setGeoCountry("1").setGeoState("1").setGeoCity("1");
  user.setEmail("1").setCustomProperty("1", "plan");
  for (const auto& [name, value] : user.build().properties) {
    EXPECT_EQ(found(framed(R"({"name": ")" + name + R"(", "condition_sign": "equal",
                               "value": "1"})")),
              "");
  }
}

TEST(Lint, TruncatesTextsThatManyMessagesShow) {
  const std::string name(100'000, 'x');
  const std::string flag = R"({"name": ")" + name + R"(", "type": "t", "rules": [
      {"is_default": true, "value": "1", "conditional_statement": "-", "conditions": []}]})";
  const auto findings = lint(R"({"feature_flags": [)" + flag + "," + flag + "," + flag + "]}");
  ASSERT_EQ(findings.size(), 2);
  EXPECT_LT(findings[0].message.size(), 300);
}

}  // namespace
}  // namespace corvo
