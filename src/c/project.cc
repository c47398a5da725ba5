// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/engine.h>
#include <corvo/json_value.h>
#include <corvo/project.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "c/call.h"
#include "c/objects.h"
#include "c/value.h"

namespace corvo::corvo_internal::c {
namespace {

template <class List, class Describe>
JsonArray listed(const List& list, Describe describe) {
  JsonArray array;
  for (const auto& element : list) array.emplace_back(describe(element));
  return array;
}

JsonArray texts(const std::vector<std::string>& list) {
  return listed(list, [](const std::string& text) { return text; });
}

JsonValue numberOf(std::size_t number) { return static_cast<std::int64_t>(number); }

JsonObject flagJson(const Project::Flag& flag) {
  return {{"name", flag.name},
          {"type", flag.type},
          {"isPrivate", flag.isPrivate},
          {"carriedBy", jsonOf(flag.carriedBy)},
          {"isOnlyCarried", flag.isOnlyCarried}};
}

JsonObject groupJson(const Project::Group& group) {
  return {{"name", group.name}, {"label", jsonOf(group.label)}, {"weight", group.weight}};
}

JsonObject experimentJson(const Project::Experiment& experiment) {
  return {{"name", experiment.name},
          {"type", jsonOf(experiment.type)},
          {"splitBy", experiment.splitBy},
          {"allocation", experiment.allocation},
          {"layer", jsonOf(experiment.layer)},
          {"groups", listed(experiment.groups, groupJson)},
          {"flags", texts(experiment.flags)},
          {"params", texts(experiment.params)},
          {"holdouts", texts(experiment.holdouts)},
          {"isPrivate", experiment.isPrivate},
          {"position", numberOf(experiment.position)}};
}

JsonObject stopJson(const Project::Stop& stop) {
  return {{"experiment", stop.experiment}, {"reason", stop.reason}};
}

JsonObject dropJson(const Project::Drop& drop) {
  return {{"pointer", drop.pointer}, {"reason", drop.reason}, {"offset", numberOf(drop.offset)}};
}

std::string describe(const Project& project) {
  return toJson(JsonObject{{"flags", listed(project.flags(), flagJson)},
                           {"experiments", listed(project.experiments(), experimentJson)},
                           {"holdouts", listed(project.holdouts(), experimentJson)},
                           {"properties", texts(project.properties())},
                           {"stops", listed(project.stops(), stopJson)},
                           {"drops", listed(project.drops(), dropJson)}});
}

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
    std::call_once(object->described, [&] { object->description = describe(object->project); });
    result = asText(object->description);
  });
}
