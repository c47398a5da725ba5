#pragma once

#include <corvo/client.h>
#include <corvo/fakes.h>

#include <algorithm>
#include <deque>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "fuzz/documents.h"

namespace corvo::fuzz {

using namespace corvo_internal;

/// A client, and what has become of its questions.
struct Life {
  std::weak_ptr<CorvoClient> client;
  std::size_t open = 0;    // questions without an answer so far
  std::size_t silent = 0;  // requests that are never answered
  bool isLost = false;     // it cannot be told how many of either there are
  bool hasAddress = true;  // its requests can be made
};

/// Answers every request as the bytes say. The address tells which life it belongs to.
class Backend final : public UrlSession {
 public:
  enum class Mood { any, kind, down, withoutLocation };

  Backend(Input& in, std::shared_ptr<fakes::VirtualTime> time)
      : in_(in), session_(std::move(time)), config_(makeConfig()) {}

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override {
    const bool isConfig = request.url.ends_with("/config.json");
    ++(isConfig ? configs : locations);
    fakes::Reply reply = replyTo(isConfig);
    if (reply.silent) ++lives.at(std::stoul(request.url.substr(kAddress.size() - 1))).silent;
    const std::string& identifier = request.headers.at("user-id");
    const auto& known = identifiers_.try_emplace(request.headers.at("token"), identifier);
    keepsIdentifiers &= known.first->second == identifier;
    session_.next(isConfig ? "config.json" : "geo", std::move(reply));
    session_.start(std::move(request), std::move(completion));
  }

  Life& beginLife() {
    Life& life = lives.emplace_back();
    life.hasAddress = !in_.oneIn(16);
    return life;
  }
  /// The base address of the life that began last.
  [[nodiscard]] std::string address() const {
    const std::string_view start = lives.back().hasAddress ? kAddress : "https://[h/";
    return std::string(start) + std::to_string(lives.size() - 1);
  }

  void publish() { config_ = makeConfig(); }

  /// A configuration that may be received: layer bounds that are inverted stop the process.
  std::string makeConfig() {
    Documents documents(in_);
    std::string text = *encodeJson(documents.config());
    if (in_.oneIn(4)) text = documents.damaged(std::move(text));
    const auto decoded = model::decodeJson<model::ConfigResponse>(text);
    const auto* config = std::get_if<model::ConfigResponse>(&decoded);
    if (config == nullptr) return text;
    for (const model::Experiment& experiment : config->experiments) {
      for (const auto& [lower, upper] : experiment.layerBounds) {
        if (lower > upper) return "{}";
      }
    }
    isStorable &= encodeJson(*config).has_value();
    return text;
  }

  std::deque<Life> lives;
  std::size_t configs = 0;  // requests so far
  std::size_t locations = 0;
  Mood mood = Mood::any;
  bool isStorable = true;  // whether all configurations can be stored
  bool keepsIdentifiers = true;

 private:
  static constexpr std::string_view kAddress = "https://h/";

  fakes::Reply replyTo(bool isConfig) {
    if (mood == Mood::down || (mood == Mood::withoutLocation && !isConfig)) return fakes::failure();
    const std::string good = isConfig ? config_ : R"({"city":"Berlin","code":"a"})";
    if (mood != Mood::any) return fakes::ok(good);
    constexpr double kDelays[] = {0, 0, 0, 0.5, 5, 10, 100};
    return fakes::after(in_.oneOf(kDelays), anyReply(isConfig, good));
  }

  fakes::Reply anyReply(bool isConfig, const std::string& good) {
    const std::size_t choice = in_.below(12);
    if (choice == 1) return fakes::ok(std::string(in_.text(in_.below(64))));
    if (choice == 2) return fakes::ok(isConfig ? makeConfig() : Documents(in_).damaged(good));
    if (choice == 3) return fakes::status(static_cast<int>(in_.between(100, 599)), good);
    if (choice == 4) return fakes::failure();
    if (choice == 5) return fakes::silence();
    return fakes::ok(choice == 6 ? "" : good);
  }

  Input& in_;
  fakes::ScriptedSession session_;
  std::string config_;
  std::map<std::string, std::string> identifiers_;  // by the token
};

}  // namespace corvo::fuzz
