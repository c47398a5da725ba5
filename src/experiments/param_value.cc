// SPDX-License-Identifier: Apache-2.0

#include "experiments/param_value.h"

#include <algorithm>

namespace corvo::corvo_internal::experiments {

const model::Text* paramValue(const model::Param& param, const model::Group& group) {
  const auto value = std::ranges::find(param.values, group.name, &model::Param::Value::group);
  return value == param.values.end() ? nullptr : &value->value;
}

}  // namespace corvo::corvo_internal::experiments
