// Configurations, written and read again: records of all kinds, and their texts when damaged. And
// users in their experiments, resolved one by one and together.

#include <corvo/fakes.h>
#include <corvo/property.h>

#include <algorithm>
#include <memory>
#include <set>
#include <variant>

#include "fuzz/documents.h"
#include "placement/resolution.h"

namespace {

using namespace corvo;
using namespace corvo::corvo_internal::model;
using fuzz::Input;
using fuzz::require;

std::string written(const ConfigResponse& config) {
  const auto text = encodeJson(config);
  require(text.has_value(), "numbers that JSON has are written");
  const auto again = decodeJson<ConfigResponse>(*text);
  require(
      std::holds_alternative<ConfigResponse>(again) && std::get<ConfigResponse>(again) == config,
      "what is written reads as the same records");
  return *text;
}

// The value at a place of a document, or null.
const JsonValue* find(const JsonValue& root, std::string_view pointer) {
  const JsonValue* found = &root;
  while (found != nullptr && !pointer.empty()) {
    pointer.remove_prefix(1);
    const std::string_view step = pointer.substr(0, pointer.find('/'));
    pointer.remove_prefix(step.size());
    if (const auto* array = found->as<JsonArray>()) {
      const auto at = fromCorvoString<std::int64_t>(step);
      const bool isInside = at && 0 <= *at && static_cast<std::size_t>(*at) < array->size();
      found = isInside ? &(*array)[static_cast<std::size_t>(*at)] : nullptr;
    } else {
      found = found->find(step);
    }
  }
  return found;
}

std::size_t lengthOf(const JsonValue& document, std::string_view pointer) {
  const JsonValue* value = find(document, pointer);
  const auto* array = value ? value->as<JsonArray>() : nullptr;
  return array ? array->size() : 0;
}

// Drops name places of the document, none within another, and make up for what is missing.
void requireSane(const std::vector<Drop>& drops, const ConfigResponse& config,
                 const JsonValue& document) {
  std::size_t flags = config.featureFlags.size();
  std::size_t experiments = config.experiments.size();
  std::set<std::string> places;
  for (const Drop& drop : drops) {
    require(!drop.reason.empty() && find(document, drop.pointer) != nullptr, drop.pointer);
    require(places.insert(drop.pointer).second, "each place once");
    const bool isInList = std::ranges::count(drop.pointer, '/') == 2;
    if (isInList) ++(drop.pointer.starts_with("/feature_flags/") ? flags : experiments);
  }
  for (auto place = places.begin(); place != places.end(); ++place) {
    const auto inside = places.lower_bound(*place + '/');
    require(inside == places.end() || !inside->starts_with(*place + '/'), "nothing inside a drop");
  }
  require(flags == lengthOf(document, "/feature_flags"), "every flag is kept or dropped");
  require(experiments == lengthOf(document, "/experiments"), "every experiment, too");
}

void readDamaged(const std::string& text) {
  std::vector<Drop> drops;
  const auto decoded = decodeConfig(text, drops);
  if (const auto* failure = std::get_if<DecodingFailure>(&decoded)) {
    return require(!failure->description().empty(), "a failure is told");
  }
  const auto& config = std::get<ConfigResponse>(decoded);
  // Numbers beyond the doubles, where nobody reads them, are no JSON values.
  const auto document = fromCorvoString<JsonObject>(text);
  if (document) requireSane(drops, config, JsonValue(*document));
  if (!encodeJson(config)) return;  // a numeric string said "inf"
  drops.clear();
  require(
      std::holds_alternative<ConfigResponse>(decodeConfig(written(config), drops)) && drops.empty(),
      "what was kept is kept");
}

// Whoever resolves all shares digests and holdouts.
void resolveAll(const ConfigResponse& config, Input& in) {
  const project::PreparedProject project(std::make_shared<const ConfigResponse>(config));
  PropertyMap own;
  for (const char* key : {"userId", "deviceId", "profileId"}) {
    if (!in.oneIn(4)) own[key] = in.oneOf(fuzz::kTexts);
  }
  const auto layer = targeting::lastingLayer(own);
  const targeting::PropertyTable properties(project.propertyNames(), {.user = &layer});
  const fakes::FakeTimeZone zone;
  const targeting::LocalTime localTime(zone);
  const targeting::Context context{
      .user = &layer, .properties = &properties, .localTime = localTime};
  placement::Resolver resolver(project, context);
  for (const auto& experiment : project.experiments()) {
    const auto& ofAll = resolver.resolve(experiment);
    const auto alone = placement::resolveExperiment(experiment, context);
    require(ofAll.reason == alone.reason && ofAll.group == alone.group &&
                ofAll.bucket == alone.bucket && ofAll.holdout == alone.holdout,
            "the same place in both ways");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Input in({data, size});
  fuzz::Documents documents(in);
  const ConfigResponse config = documents.config();
  resolveAll(config, in);
  const std::string text = written(config);
  readDamaged(documents.damaged(text));
  return 0;
}
