// SPDX-License-Identifier: Apache-2.0

#include "tool/document.h"

#include <corvo/client_registry.h>
#include <corvo/corvo.h>
#include <corvo/host.h>

#include <memory>
#include <string_view>
#include <utility>

#include "json/json_places.h"
#include "json/json_pointer.h"

namespace corvo::tool {

using namespace corvo_internal;

namespace {

/// Answers immediately with one of two documents.
class TwoDocuments final : public UrlSession {
 public:
  TwoDocuments(std::string configuration, std::string location)
      : configuration_(std::move(configuration)), location_(std::move(location)) {}

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override {
    const bool isLocation = kindAskedFor(request) == Document::Kind::location;
    completion({200, isLocation ? location_ : configuration_, {}});
  }

 private:
  const std::string configuration_;
  const std::string location_;
};

/// Why a client rejects an answer, or empty.
std::optional<std::string> refusalOf(const Document& document) {
  const std::string& content = document.text;
  const bool isLocation = document.kind == Document::Kind::location;
  Platform platform = hostPlatform({.inMemory = true});
  platform.urlSession = sessionOf(isLocation ? "{}" : content, isLocation ? content : "{}");
  ClientRegistry registry(std::move(platform));
  const auto client = registry.initializeClient(
      {.projectToken = "check", .apiURL = "http://check", .retryCount = 0});
  try {
    fetchDocuments(*client, content.size());
  } catch (const CorvoError& error) {
    const auto* config = error.as<CorvoError::RequestConfigFailed>();
    const auto* location = error.as<CorvoError::RequestLocationFailed>();
    const CorvoNetworkError& cause = config ? config->error : location->error;
    const auto* decoding = cause.as<CorvoNetworkError::DecodingError>();
    return decoding ? decoding->localizedDescription : cause.description();
  }
  return std::nullopt;
}

/// The JSON pointer (RFC 6901) to a member of a text's object.
std::string pointerTo(std::string_view keyInQuotes) {
  std::string text = "{";
  text.append(keyInQuotes).append(":0}");
  const auto object = fromCorvoString<JsonObject>(text);
  std::string pointer;
  json::appendToken(pointer, object.value().begin()->first);
  return pointer;
}

/// The place of the value that a refusal is about. A refusal may end with a pointer to a member of
/// the text's outermost object. If several members have that name, the last one counts.
std::size_t placeOfRefused(const std::string& refusal, const json::JsonPlaces& places) {
  constexpr std::string_view kAt = " at ";
  std::size_t place = places.nodes.front();
  const std::size_t at = refusal.find(std::string(kAt) + "/");
  if (at == std::string::npos) return place;
  for (const auto& [key, value] : places.members) {
    if (pointerTo(key) == refusal.substr(at + kAt.size())) place = value;
  }
  return place;
}

}  // namespace

Document::Kind kindAskedFor(const UrlRequest& request) {
  return request.url.ends_with("geo") ? Document::Kind::location : Document::Kind::configuration;
}

void fetchDocuments(CorvoClient& client, std::size_t size) {
  try {
    // No name in a text is as long as the text, so this flag does not exist and nothing is
    // evaluated.
    client.checkFlag<bool>(std::string(size, ' ')).get();
  } catch (const CorvoError& error) {
    if (error.as<CorvoError::FeatureFlagNotFound>() == nullptr) throw;
  }
}

std::optional<std::string> faultOf(const Document& document) {
  const std::optional<std::string> refusal = refusalOf(document);
  if (!refusal) return std::nullopt;
  const json::JsonPlaces places = json::jsonPlaces(document.text);
  const auto fault = places.fault.value_or(
      json::JsonPlaces::Fault{placeOfRefused(*refusal, places), refusal->c_str()});
  return document.name + ":" + json::lineAndColumn(document.text, fault.place) + ": " +
         fault.reason;
}

std::shared_ptr<UrlSession> sessionOf(std::string configuration, std::string location) {
  return std::make_shared<TwoDocuments>(std::move(configuration), std::move(location));
}

}  // namespace corvo::tool
