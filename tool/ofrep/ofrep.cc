// SPDX-License-Identifier: Apache-2.0

#include "tool/ofrep/ofrep.h"

#include <corvo/json_value.h>

#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "tool/http/entity_tag.h"
#include "tool/ofrep/edition_answers.h"

namespace corvo::tool {
namespace {

// Answers are for one user, and may change at any time.
HttpResponse jsonResponse(int status, std::string body) {
  return {.status = status,
          .type = "application/json",
          .body = std::move(body),
          .headers = {{"Cache-Control", "private, no-cache"}}};
}

HttpResponse withoutAnswer(int status, const std::string& details) {
  return jsonResponse(status, toJson(JsonObject{{"errorDetails", details}}));
}

HttpResponse unavailable(const std::string& reason) {
  HttpResponse response = withoutAnswer(503, reason);
  response.headers.emplace_back("Retry-After", "1");
  return response;
}

}  // namespace

struct Ofrep::State {
  using Answers = std::unique_ptr<EditionAnswers>;

  State(const Publication& ofEditions, const Surroundings& ofUsers, std::string path)
      : publication(ofEditions), surroundings(ofUsers), streamPath(std::move(path)) {}

  /// Answers of the current edition, for one request; or null, and why there are none. Only here is
  /// an edition replaced: the former one lives on in the requests that still use it.
  Answers borrow(std::string& refusal);
  void giveBack(Answers answers);

  /// Answers a request with a function of the edition's answers. `key` is that of the flag, if the
  /// request is about one.
  template <class Answer>
  HttpResponse respond(const HttpRequest& request, std::optional<std::string_view> key,
                       Answer answer);

  const Publication& publication;
  const Surroundings& surroundings;
  const std::string streamPath;
  std::mutex mutex;
  std::shared_ptr<const PreparedEdition> current;  // guarded
  std::vector<Answers> idle;                       // guarded; all of the current edition
};

Ofrep::State::Answers Ofrep::State::borrow(std::string& refusal) {
  std::pair<std::shared_ptr<const PreparedEdition>, std::vector<Answers>>
      former;  // outlives the lock
  std::shared_ptr<const PreparedEdition> edition;
  {
    const std::scoped_lock lock(mutex);
    // Read under the lock, so that a late request does not bring an old edition back.
    Publication::Current published = publication.now();
    if (!current || current->edition != published.edition) {
      former = {std::exchange(current, nullptr), std::exchange(idle, {})};
      if (published.edition) {
        current = std::make_shared<const PreparedEdition>(std::move(published.edition), streamPath);
      }
    }
    if (!current) {
      refusal = std::move(published.refusal);
      return nullptr;
    }
    if (!idle.empty()) {
      Answers answers = std::move(idle.back());
      idle.pop_back();
      return answers;
    }
    edition = current;
  }
  return std::make_unique<EditionAnswers>(std::move(edition), surroundings);
}

void Ofrep::State::giveBack(Answers answers) {
  answers->forgetUser();
  const std::scoped_lock lock(mutex);
  if (answers->edition() == current) idle.push_back(std::move(answers));
}

// A failed request may leave its answers in any state, so they are not given back. Its message may
// contain anything, so it is not shown. Clients of the protocol read JSON, even then.
template <class Answer>
HttpResponse Ofrep::State::respond(const HttpRequest& request, std::optional<std::string_view> key,
                                   Answer answer) {
  try {
    std::string refusal;
    Answers answers = borrow(refusal);
    if (!answers) return unavailable(refusal);
    const auto failure = answers->read(request.body);
    HttpResponse response =
        failure ? jsonResponse(400, failureJson(key, failure->code, failure->details))
                : answer(*answers);
    giveBack(std::move(answers));
    return response;
  } catch (...) {
    return withoutAnswer(500, "internal error");
  }
}

Ofrep::Ofrep(const Publication& publication, const Surroundings& surroundings,
             std::string streamPath)
    : state_(std::make_unique<State>(publication, surroundings, std::move(streamPath))) {}
Ofrep::~Ofrep() = default;

HttpResponse Ofrep::evaluate(const HttpRequest& request, const std::string& flag) {
  return state_->respond(request, flag, [&](EditionAnswers& answers) {
    auto json = answers.one(flag);
    return json ? jsonResponse(200, *std::move(json))
                : jsonResponse(404, failureJson(flag, "FLAG_NOT_FOUND",
                                                "there is no such flag for the user"));
  });
}

HttpResponse Ofrep::evaluateAll(const HttpRequest& request) {
  return state_->respond(request, std::nullopt, [&](EditionAnswers& answers) {
    auto [json, tag] = answers.all();
    HttpResponse response =
        isKnownTag(request, tag) ? jsonResponse(304, "") : jsonResponse(200, std::move(json));
    response.headers.emplace_back("ETag", std::move(tag));
    return response;
  });
}

}  // namespace corvo::tool
