// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "json/json_tree.h"
#include "model/config.h"
#include "model/decoder.h"
#include "model/fields.h"

namespace corvo::corvo_internal::project {

/// A record, or a text, with the node from which it was read.
template <class R>
struct Placed {
  const R* record;
  const json::JsonNode* node;

  const R& operator*() const noexcept { return *record; }
  const R* operator->() const noexcept { return record; }
};

/// A document decoded as tolerantly as a client does, with the node of each record.
class Document {
 public:
  explicit Document(std::string_view text);

  /// Null if the text is not valid JSON.
  [[nodiscard]] const json::JsonNode* root() const noexcept { return root_; }
  /// Why there is no root.
  [[nodiscard]] std::string_view error() const noexcept { return tree_.error(); }

  /// Whether the text is a valid configuration, and the failure if not.
  [[nodiscard]] bool isConfiguration() const noexcept { return isConfiguration_; }
  [[nodiscard]] const model::ReadFailure& failure() const noexcept { return decoder_.failure(); }

  /// Everything that was dropped, in document order.
  [[nodiscard]] const std::vector<model::DroppedNode>& dropped() const noexcept { return dropped_; }

  [[nodiscard]] Placed<model::ConfigResponse> config() const { return {&config_, root_}; }
  /// All flags and experiments that were read, and those that remain after the platform filter.
  [[nodiscard]] const auto& flags() const noexcept { return flags_; }
  [[nodiscard]] const auto& experiments() const noexcept { return experiments_; }
  [[nodiscard]] const auto& keptFlags() const noexcept { return keptFlags_; }
  [[nodiscard]] const auto& keptExperiments() const noexcept { return keptExperiments_; }

  /// The node of a field, or the record's own node if it lacks the field.
  template <class R, class M>
  [[nodiscard]] const json::JsonNode& place(Placed<R> owner, M R::*member) const {
    const json::JsonNode* found = nullptr;
    const auto look = [&](const auto& field) {
      if constexpr (std::is_same_v<decltype(field.member), M R::*>) {
        if (field.member != member || found != nullptr) return;
        const json::JsonNode* node = json::lastMember(*owner.node, field.key);
        if (node != nullptr && node->kind != json::JsonKind::null) found = node;
      }
    };
    std::apply([&](const auto&... field) { (look(field), ...); }, model::Fields<R>::list);
    return found != nullptr ? *found : *owner.node;
  }

  /// The elements of a list: the array's elements that were not dropped, or a single value that
  /// stands for a list of one.
  template <class R, class L>
  [[nodiscard]] std::vector<Placed<typename L::value_type>> list(Placed<R> owner,
                                                                 L R::*member) const {
    std::vector<Placed<typename L::value_type>> all;
    const L& records = (*owner).*member;
    if (records.empty()) return all;
    const json::JsonNode& node = place(owner, member);
    if (node.kind != json::JsonKind::array) return {{&records[0], &node}};
    for (const json::JsonNode& element : json::JsonElements(node)) {
      if (!isDropped(element)) all.push_back({&records[all.size()], &element});
    }
    return all;
  }

 private:
  [[nodiscard]] bool isDropped(const json::JsonNode& element) const;

  json::JsonTree tree_;
  const json::JsonNode* root_;
  std::vector<model::DroppedNode> dropped_;
  model::Decoder decoder_;
  model::ConfigResponse config_;
  bool isConfiguration_ = false;
  std::vector<Placed<model::FeatureFlag>> flags_;
  std::vector<Placed<model::Experiment>> experiments_;
  std::vector<Placed<model::FeatureFlag>> keptFlags_;
  std::vector<Placed<model::Experiment>> keptExperiments_;
};

}  // namespace corvo::corvo_internal::project
