// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <variant>

#include "model/codec.h"
#include "model/config.h"

namespace corvo::tests {

/// The experiment of a JSON text, which has no name.
inline corvo_internal::model::Experiment experimentOf(const std::string& json) {
  namespace model = corvo_internal::model;
  const auto config = model::decodeJson<model::ConfigResponse>(R"({"experiments": [{"name": "e",)" +
                                                               json.substr(1) + "]}");
  model::Experiment read = std::get<model::ConfigResponse>(config).experiments.at(0);
  read.own = std::get<model::ConfigResponse>(config).owner;
  return read;
}

}  // namespace corvo::tests
