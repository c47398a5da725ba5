// SPDX-License-Identifier: Apache-2.0

#include "tool/ofrep/edition_answers.h"

#include <corvo/json_value.h>

#include <array>
#include <span>
#include <utility>

#include "base/md5.h"

namespace corvo::tool {

namespace base = corvo_internal::base;

namespace {

/// The address of the stream says which edition the client has, so that it misses none.
std::string streamsMember(std::string_view path, const std::string& version) {
  const char mark = path.find('?') == std::string_view::npos ? '?' : '&';
  const std::string uri = std::string(path) + mark + "since=" + version;
  return R"("eventStreams":[{"type":"sse","endpoint":{"requestUri":)" + JsonValue(uri).toJson() +
         R"(},"inactivityDelaySec":120}])";
}

}  // namespace

PreparedEdition::PreparedEdition(std::shared_ptr<const Edition> of, std::string_view streamPath)
    : edition(std::move(of)),
      keys(edition->project),
      catalogue(edition->project),
      streams(streamsMember(streamPath, edition->version)) {}

EditionAnswers::EditionAnswers(std::shared_ptr<const PreparedEdition> edition,
                               const Surroundings& surroundings)
    : edition_(std::move(edition)),
      context_(edition_->keys, surroundings, edition_->edition->location),
      about_(edition_->edition->project, context_.context()),
      answers_(edition_->catalogue) {}

std::optional<OfrepFailure> EditionAnswers::read(std::string_view body) {
  if (auto failure = context_.read(body)) return failure;
  about_.reset(context_.context());
  return std::nullopt;
}

std::optional<std::string> EditionAnswers::one(std::string_view flag) {
  const auto position = edition_->catalogue.find(flag);
  if (!position) return std::nullopt;
  const FlagAnswer& answer = answers_.answerTo(about_.flagDecisions(std::array{*position}).front());
  if (!answer.isSuccess) return std::nullopt;
  return context_.ignored().empty() ? answer.json : withMetadata(answer.json, ignoredMember());
}

// The tag is the digest of the parts' digests, each of which is computed once. Digesting the whole
// text would double the time. Equal texts have equal parts.
EditionAnswers::All EditionAnswers::all() {
  std::string json = "{\"flags\":[";
  digests_.clear();
  for (const auto& decision : about_.flagDecisions(edition_->catalogue.all())) {
    const FlagAnswer& answer = answers_.answerTo(decision);
    if (!digests_.empty()) json += ',';
    json += answer.json;
    digests_.append(answer.digest.begin(), answer.digest.end());
  }
  const std::size_t flagsEnd = json.size();
  json += "],\"metadata\":{";
  if (!context_.ignored().empty()) json += ignoredMember();
  json.append("},").append(edition_->streams).append("}");
  const auto digest = base::hexDigits(base::md5(digests_, std::string_view(json).substr(flagsEnd)));
  return {std::move(json), "\"" + std::string(base::view(digest)) + "\""};
}

std::string EditionAnswers::ignoredMember() const {
  return "\"ignoredContext\":" + JsonValue(context_.ignored()).toJson();
}

}  // namespace corvo::tool
