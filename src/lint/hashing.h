// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <tuple>

#include "model/config.h"
#include "placement/bucketing.h"

namespace corvo::corvo_internal::lint {

/// The input that determines where the hash puts a user: the identifier, and the salt appended to
/// it. Equal inputs give the same position.
struct Hashing {
  model::SplitMode splitMode;
  std::string_view salt;

  friend bool operator<(const Hashing& a, const Hashing& b) {
    return std::tie(a.splitMode, a.salt) < std::tie(b.splitMode, b.salt);
  }

  static Hashing of(const model::Experiment& experiment, std::string_view salt) {
    return {experiment.splitMode.value_or(model::SplitMode::userId), salt};
  }
  static Hashing ofLayer(const model::Experiment& experiment) {
    return of(experiment, placement::layerSalt(experiment));
  }
};

}  // namespace corvo::corvo_internal::lint
