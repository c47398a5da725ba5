// SPDX-License-Identifier: Apache-2.0

#include <corvo/lint.h>

#include <utility>

#include "json/json_places.h"
#include "lint/checks.h"
#include "lint/report.h"

namespace corvo {

namespace {

using corvo_internal::lint::Code;
using corvo_internal::lint::Report;
using corvo_internal::project::Document;

std::vector<Finding> ofNoJson(std::string_view text, std::string_view error) {
  // A text that is too large has no faulty position.
  const auto fault = corvo_internal::json::jsonPlaces(text).fault;
  const std::string reason = fault ? fault->reason : std::string(error);
  return {findingAt(Code::notJson, text, fault ? fault->place : 0, "not JSON: " + reason)};
}

void checkConfiguration(const Document& document, Report& report) {
  checkReading(document, report);
  checkAllocations(document, report);
  checkLayers(document, report);
  checkRules(document, report);
  checkValues(document, report);
  checkExperiments(document, report);
}

}  // namespace

std::vector<Finding> lint(std::string_view text) {
  const Document document(text);
  if (document.root() == nullptr) return ofNoJson(text, document.error());
  Report report;
  checkKeys(document, report);
  if (document.isConfiguration()) {
    checkConfiguration(document, report);
  } else {
    report.add(Code::notAConfiguration, *document.failure().node,
               "not a configuration: " + document.failure().reason());
  }
  return std::move(report).findings(text, *document.root());
}

}  // namespace corvo
