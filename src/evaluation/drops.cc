#include "evaluation/drops.h"

#include <corvo/json_value.h>

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <utility>
#include <variant>

#include "json/json_places.h"
#include "json/json_pointer.h"
#include "json/json_tree.h"
#include "model/codec.h"
#include "project/platform_filter.h"

namespace corvo::corvo_internal::evaluation {
namespace {

std::string reasonOf(const model::FeatureFlag& flag) {
  return "its platform is " + JsonValue(std::string(*flag.platform)).toJson();
}

std::string reasonOf(const model::Experiment& experiment) {
  JsonArray platforms;
  for (const model::Text platform : experiment.platforms)
    platforms.push_back(std::string(platform));
  return "its platforms are " + JsonValue(std::move(platforms)).toJson();
}

// Finds what the filter drops: the elements of a list that the reader kept are its records, in
// order.
class Filtered {
 public:
  Filtered(const json::JsonNode& document, std::vector<model::Drop>& drops)
      : document_(document), drops_(drops) {
    for (const model::Drop& drop : drops) read_.insert(drop.node);
  }

  template <class Records>
  void add(std::string_view key, const Records& records) {
    const json::JsonNode* const list = lastOf(key);
    if (list == nullptr || records.empty()) return;
    auto record = records.begin();
    std::size_t index = 0;
    for (const json::JsonNode& element : json::JsonElements(*list)) {
      const auto node = static_cast<std::size_t>(&element - &document_);
      const std::size_t at = index++;
      if (read_.contains(node)) continue;
      if (!project::isOurs(*record)) {
        drops_.push_back({pointerTo(key, at), reasonOf(*record), node});
      }
      ++record;
    }
  }

 private:
  // Of members with one key the last counts.
  [[nodiscard]] const json::JsonNode* lastOf(std::string_view key) const {
    const json::JsonNode* found = nullptr;
    for (const auto [name, value] : json::JsonMembers(document_)) {
      if (name == key) found = &value;
    }
    return found;
  }

  static std::string pointerTo(std::string_view key, std::size_t index) {
    std::string pointer;
    json::appendToken(pointer, key);
    json::appendToken(pointer, std::to_string(index));
    return pointer;
  }

  const json::JsonNode& document_;
  std::vector<model::Drop>& drops_;
  std::set<std::size_t> read_;  // those that the reader dropped
};

}  // namespace

std::vector<Project::Drop> dropsOf(std::string_view text, Project::Filter filter) {
  std::vector<model::Drop> found;
  const auto decoded = model::decodeConfig(text, found);
  const auto* config = std::get_if<model::ConfigResponse>(&decoded);
  if (config != nullptr && filter == Project::Filter::client) {
    const json::JsonTree tree(text);
    Filtered filtered(*tree.root(), found);
    filtered.add("feature_flags", config->featureFlags);
    filtered.add("experiments", config->experiments);
    std::ranges::sort(found, {}, &model::Drop::node);
  }
  const json::JsonPlaces places = json::jsonPlaces(text);
  std::vector<Project::Drop> drops;
  drops.reserve(found.size());
  for (auto& [pointer, reason, node] : found) {
    drops.push_back({std::move(pointer), std::move(reason), places.nodes.at(node)});
  }
  return drops;
}

}  // namespace corvo::corvo_internal::evaluation
