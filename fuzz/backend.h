// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/fakes.h>

#include <memory>
#include <string>
#include <utility>

#include "fuzz/documents.h"

namespace corvo::fuzz {

using namespace corvo_internal;

/// Answers every request as the input bytes determine.
class Backend final : public UrlSession {
 public:
  enum class Mood { any, kind, withoutConfig, withoutLocation };

  Backend(Input& in, std::shared_ptr<fakes::VirtualTime> time)
      : in_(in), session_(std::move(time)), config_(makeConfig()) {}

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override {
    const bool isConfig = request.url.ends_with("/config.json");
    session_.next(isConfig ? "config.json" : "geo", replyTo(isConfig));
    session_.start(std::move(request), std::move(completion));
  }

  void publish() { config_ = makeConfig(); }

  /// A configuration that can be received and stored. Inverted layer bounds are excluded, because
  /// they abort the process, and so are numbers that JSON cannot express.
  std::string makeConfig() {
    Documents documents(in_);
    std::string text = *encodeJson(documents.config());
    if (in_.oneIn(4)) text = documents.damaged(std::move(text));
    const auto config = roundTrip<model::ConfigResponse>(text);
    if (!config) return text;
    for (const model::Experiment& experiment : config->experiments) {
      for (const auto& [lower, upper] : experiment.layerBounds) {
        if (lower > upper) return "{}";
      }
    }
    return encodeJson(*config) ? text : "{}";
  }

  Mood mood = Mood::any;

 private:
  fakes::Reply replyTo(bool isConfig) {
    if (mood == (isConfig ? Mood::withoutConfig : Mood::withoutLocation)) return fakes::failure();
    std::string body = isConfig ? config_ : R"({"city":"Berlin","code":"a"})";
    if (mood != Mood::any) return fakes::ok(body);
    constexpr double kDelays[] = {0, 0, 0, 0.5, 5, 10, 100};
    const double delay = in_.oneOf(kDelays);
    const std::size_t choice = in_.below(12);
    if (choice == 1) return fakes::after(delay, fakes::failure());
    if (choice == 2) body = isConfig ? makeConfig() : Documents(in_).damaged(body);
    const std::int64_t status = choice == 3 ? in_.between(100, 599) : 200;
    return fakes::after(delay, fakes::status(static_cast<int>(status), body));
  }

  Input& in_;
  fakes::ScriptedSession session_;
  std::string config_;
};

}  // namespace corvo::fuzz
