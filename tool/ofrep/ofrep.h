// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "tool/http/http_message.h"
#include "tool/ofrep/publication.h"
#include "tool/surroundings.h"

namespace corvo::tool {

/// What all paths of the protocol begin with.
inline constexpr std::string_view kOfrepPath = "/ofrep/";
/// Its two questions, as a `Router` reads them.
inline constexpr std::string_view kFlagsPath = "/ofrep/v1/evaluate/flags";
inline constexpr std::string_view kFlagPath = "/ofrep/v1/evaluate/flags/*";

/// The two questions of the OpenFeature Remote Evaluation Protocol, version 0.3.0. Thread-safe.
/// Refers to its arguments.
class Ofrep {
 public:
  /// `streamPath` is the address of the event stream that bulk answers name: its path, and perhaps
  /// a query.
  Ofrep(const Publication& publication, const Surroundings& surroundings, std::string streamPath);
  ~Ofrep();

  /// The answer for one flag.
  [[nodiscard]] HttpResponse evaluate(const HttpRequest& request, const std::string& flag);
  /// The answer for all flags.
  [[nodiscard]] HttpResponse evaluateAll(const HttpRequest& request);

 private:
  struct State;

  std::unique_ptr<State> state_;
};

}  // namespace corvo::tool
