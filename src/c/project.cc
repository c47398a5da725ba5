// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/engine.h>
#include <corvo/json_value.h>
#include <corvo/project.h>

#include <cstddef>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "c/call.h"
#include "c/objects.h"
#include "evaluation/report_json.h"

namespace corvo::corvo_internal::c {
namespace {

Project::Filter filterOf(corvo_filter filter) {
  if (filter == CORVO_FILTER_NONE) return Project::Filter::none;
  if (filter == CORVO_FILTER_CLIENT) return Project::Filter::client;
  throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such filter");
}

}  // namespace
}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_project_decode(corvo_text document, corvo_filter filter,
                                  corvo_project** project) {
  return call([&] {
    corvo_project*& result = resultAt(project);
    Result<Project> decoded = Project::decode(viewOf(document), filterOf(filter));
    result = handleOf(std::move(decoded).value());
  });
}

corvo_status corvo_project_free(corvo_project* project) {
  return call([&] { freeHandle(projects(), project); });
}

corvo_status corvo_project_describe(corvo_project* project, corvo_text* json) {
  return call([&] {
    corvo_text& result = resultAt(json);
    const auto object = shared(projects(), project);
    std::call_once(object->described, [&] {
      object->description = toJson(corvo_internal::evaluation::jsonOf(object->project));
    });
    result = asText(object->description);
  });
}

corvo_status corvo_project_shares(corvo_project* project, size_t experiment, corvo_text* json) {
  return call([&] {
    corvo_text& result = resultAt(json);
    const auto object = shared(projects(), project);
    const std::lock_guard lock(object->mutex);
    const auto known = object->shares.find(experiment);
    if (known != object->shares.end()) {
      result = asText(known->second);
      return;
    }
    const std::optional<Project::Shares> shares = object->project.shares(experiment);
    if (!shares) {
      result = {};
      return;
    }
    std::string text = toJson(corvo_internal::evaluation::jsonOf(*shares));
    result = asText(object->shares.emplace(experiment, std::move(text)).first->second);
  });
}
