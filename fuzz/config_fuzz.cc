// SPDX-License-Identifier: Apache-2.0

// Configurations: encoded and decoded again, records of all kinds, and their damaged texts. Also
// the findings of lint in each.

#include <corvo/lint.h>

#include <algorithm>

#include "fuzz/documents.h"

namespace {

using namespace corvo::corvo_internal::model;
using corvo::fuzz::require;
using corvo::fuzz::roundTrip;

std::vector<Drop> dropsOf(const std::string& text, const ConfigResponse& expected) {
  std::vector<Drop> drops;
  const auto decoded = decodeConfig(text, drops);
  const auto* config = std::get_if<ConfigResponse>(&decoded);
  require(config && *config == expected, "the same with drops and without");
  for (const auto& [pointer, reason, node] : drops) {
    require(pointer.starts_with('/') && !reason.empty() && node > 0,
            "a drop has its place and reason");
  }
  return drops;
}

// Findings are ordered, located and repeatable, and include everything that is dropped.
void checkFindings(const std::string& text, const std::vector<Drop>* drops) {
  using corvo::Finding;
  const std::vector<Finding> findings = corvo::lint(text);
  require(corvo::lint(text) == findings, "found again");
  require(std::ranges::is_sorted(findings, {}, &Finding::offset), "in order");
  const auto has = [&](std::string_view code, const std::string& pointer) {
    return std::ranges::any_of(findings, [&](const Finding& finding) {
      return finding.code == code && finding.pointer == pointer;
    });
  };
  for (const Finding& finding : findings) {
    require(finding.offset <= text.size() && !finding.message.empty(), "a place and a message");
  }
  if (drops == nullptr) {
    require(
        std::ranges::any_of(findings, [](const Finding& f) { return f.code.starts_with("not-"); }),
        "why a text cannot be read");
    return;
  }
  for (const Drop& drop : *drops) {
    require(has("dropped-element", drop.pointer) || has("holdouts-not-a-list", drop.pointer),
            "every drop has a finding");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  corvo::fuzz::Input in({data, size});
  corvo::fuzz::Documents documents(in);
  const ConfigResponse config = documents.config();
  const auto text = encodeJson(config);
  require(text && roundTrip<ConfigResponse>(*text) == config, "everything is encoded and decoded");

  const std::string damaged = documents.damaged(*text);
  const auto kept = roundTrip<ConfigResponse>(damaged);
  if (!kept) return checkFindings(damaged, nullptr), 0;
  const auto drops = dropsOf(damaged, *kept);
  checkFindings(damaged, &drops);
  if (const auto again = encodeJson(*kept)) {
    require(dropsOf(*again, *kept).empty(), "the kept elements are kept again");
  }
  return 0;
}
