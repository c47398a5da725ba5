// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/engine.h>
#include <corvo/json_value.h>
#include <corvo/lint.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "c/call.h"
#include "c/objects.h"

namespace corvo::corvo_internal::c {
namespace {

JsonObject findingJson(const Finding& finding) {
  const bool isError = finding.severity == Finding::Severity::error;
  return {{"code", std::string(finding.code)},
          {"severity", isError ? "error" : "warning"},
          {"pointer", finding.pointer},
          {"offset", static_cast<std::int64_t>(finding.offset)},
          {"line", static_cast<std::int64_t>(finding.line)},
          {"column", static_cast<std::int64_t>(finding.column)},
          {"message", finding.message}};
}

}  // namespace
}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_lint(corvo_text document, corvo_findings** findings) {
  return call([&] {
    corvo_findings*& result = resultAt(findings);
    JsonArray list;
    for (const Finding& finding : lint(viewOf(document))) list.emplace_back(findingJson(finding));
    auto object = std::make_shared<FindingsObject>(FindingsObject{toJson(list)});
    result = static_cast<corvo_findings*>(corvo_internal::c::findings().add(std::move(object)));
  });
}

corvo_status corvo_findings_json(corvo_findings* findings, corvo_text* json) {
  return call([&] {
    corvo_text& result = resultAt(json);
    result = asText(shared(corvo_internal::c::findings(), findings)->json);
  });
}

corvo_status corvo_findings_free(corvo_findings* findings) {
  return call([&] { freeHandle(corvo_internal::c::findings(), findings); });
}
