// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/engine.h>

#include <exception>
#include <vector>

#include "c/call.h"
#include "c/objects.h"
#include "c/value.h"

namespace corvo::corvo_internal::c {

void freeAll(const std::vector<corvo_experiment*>& handles) {
  for (corvo_experiment* const each : handles) freeHandle(experiments(), each);
}

std::vector<corvo_experiment*> handlesOf(const std::vector<CorvoExperimentPointer>& found) {
  std::vector<corvo_experiment*> handles;
  handles.reserve(found.size());
  try {
    for (const CorvoExperimentPointer& each : found) handles.push_back(handleOf(each));
  } catch (const std::exception&) {
    freeAll(handles);
    throw;
  }
  return handles;
}

}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_experiment_free(corvo_experiment* experiment) {
  return call([&] { freeHandle(experiments(), experiment); });
}

corvo_status corvo_experiment_group(corvo_experiment* experiment, corvo_text* name,
                                    corvo_text* group_name, int64_t* group_index) {
  return call([&] {
    const auto object = shared(experiments(), experiment);
    if (name != nullptr) *name = asText(object->name);
    if (group_name != nullptr)
      *group_name = object->groupName ? asText(*object->groupName) : corvo_text{};
    if (group_index != nullptr) *group_index = object->groupIndex;
  });
}

corvo_status corvo_experiment_param(corvo_experiment* experiment, corvo_text name, corvo_type type,
                                    corvo_value* value) {
  return call([&] {
    corvo_value& result = resultAt(value);
    checkType(type);
    const auto object = shared(experiments(), experiment);
    result = valueOf(object->experiment->paramText(viewOf(name)), type);
  });
}

corvo_status corvo_experiment_flag(corvo_experiment* experiment, corvo_text name, corvo_type type,
                                   corvo_value* value) {
  return call([&] {
    corvo_value& result = resultAt(value);
    checkType(type);
    const auto object = shared(experiments(), experiment);
    result = valueOf(object->experiment->featureText(viewOf(name)).value(), type);
  });
}
