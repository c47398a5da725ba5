// SPDX-License-Identifier: Apache-2.0

#include "evaluation/drops.h"

#include <corvo/json_value.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <utility>
#include <variant>

#include "json/json_places.h"
#include "json/json_pointer.h"
#include "json/json_tree.h"
#include "model/codec.h"
#include "project/document.h"
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

// The elements of a list that the filter removes.
template <class Record>
void addOthers(const std::vector<project::Placed<Record>>& records, const json::JsonNode& root,
               std::vector<model::Drop>& drops) {
  std::vector<project::Placed<Record>> others;
  std::ranges::copy_if(records, std::back_inserter(others),
                       [](const auto& each) { return !project::isForThisPlatform(*each); });
  std::vector<const json::JsonNode*> nodes(others.size());
  std::ranges::transform(others, nodes.begin(), [](const auto& each) { return each.node; });
  std::vector<std::string> pointers = json::pointersTo(nodes, root);
  for (std::size_t i = 0; i < others.size(); ++i) {
    drops.push_back(
        {std::move(pointers[i]), reasonOf(*others[i]), static_cast<std::size_t>(nodes[i] - &root)});
  }
}

}  // namespace

std::vector<Project::Drop> dropsOf(std::string_view text, Project::Filter filter) {
  std::vector<model::Drop> found;
  const auto decoded = model::decodeConfig(text, found);
  if (std::holds_alternative<model::ConfigResponse>(decoded) && filter == Project::Filter::client) {
    const project::Document document(text);
    addOthers(document.flags(), *document.root(), found);
    addOthers(document.experiments(), *document.root(), found);
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
