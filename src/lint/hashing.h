#pragma once

#include <compare>
#include <string_view>

#include "model/config.h"
#include "placement/bucketing.h"

namespace corvo::corvo_internal::lint {

/// What decides where the hash puts a user: the identifier that is taken, and the text that is
/// appended to it. Where both are the same, so is the user's place.
struct Hashing {
  model::SplitMode splitMode;
  std::string_view salt;

  auto operator<=>(const Hashing&) const = default;

  static Hashing of(const model::Experiment& experiment, std::string_view salt) {
    return {experiment.splitMode.value_or(model::SplitMode::userId), salt};
  }
  static Hashing ofLayer(const model::Experiment& experiment) {
    return of(experiment, placement::layerSalt(experiment));
  }
};

}  // namespace corvo::corvo_internal::lint
