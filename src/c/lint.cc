// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/engine.h>

#include <memory>
#include <string>
#include <utility>

#include "c/call.h"
#include "c/objects.h"
#include "lint/finding_json.h"

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_lint(corvo_text document, corvo_findings** findings) {
  return call([&] {
    corvo_findings*& result = resultAt(findings);
    std::string json = corvo_internal::lint::findingsJson(viewOf(document));
    auto object = std::make_shared<FindingsObject>(FindingsObject{std::move(json)});
    result = handleIn<corvo_findings>(corvo_internal::c::findings(), std::move(object));
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
