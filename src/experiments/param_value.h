// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "model/config.h"

namespace corvo::corvo_internal::experiments {

/// The first text of a parameter for that group, or null.
[[nodiscard]] const model::Text* paramValue(const model::Param& param, const model::Group& group);

}  // namespace corvo::corvo_internal::experiments
