// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>
#include <corvo/lint.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace corvo::corvo_internal::lint {

/// The findings in a document as a JSON array, for other languages. Objects have the members of
/// `Finding`; the severity is "error" or "warning".
[[nodiscard]] inline std::string findingsJson(std::string_view document) {
  JsonArray list;
  for (const Finding& finding : corvo::lint(document)) {
    const bool isError = finding.severity == Finding::Severity::error;
    list.emplace_back(JsonObject{{"code", std::string(finding.code)},
                                 {"severity", isError ? "error" : "warning"},
                                 {"pointer", finding.pointer},
                                 {"offset", static_cast<std::int64_t>(finding.offset)},
                                 {"line", static_cast<std::int64_t>(finding.line)},
                                 {"column", static_cast<std::int64_t>(finding.column)},
                                 {"message", finding.message}});
  }
  return toJson(list);
}

}  // namespace corvo::corvo_internal::lint
