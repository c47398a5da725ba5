// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/json_value.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "base/text.h"
#include "json/json_tree.h"
#include "json/stored_date.h"
#include "model/codec.h"
#include "model/fields.h"
#include "model/pool_writer.h"

namespace corvo::corvo_internal::dynamic {
class DynamicValue;
}

namespace corvo::corvo_internal::model {

using json::JsonElements;
using json::JsonKind;
using json::JsonMembers;
using json::JsonNode;

/// Why a value could not be read. Cheap to create, because its text is rarely wanted.
struct ReadFailure {
  enum class Why : std::uint8_t {
    wrongKind,
    missingKey,
    unknownValue,
    notNumeric,
    notInteger,
    notDouble,
    notDynamic
  };

  const JsonNode* node = nullptr;
  Why why{};
  std::string_view detail;  ///< The expected kind, the missing key, or the unknown text.

  [[nodiscard]] std::string reason() const;
};

/// An element or a field that was dropped, and why.
struct DroppedNode {
  const JsonNode* node;
  ReadFailure failure;
};

/// Reads the values of a tree into records by their tables of fields. Each `read` returns whether
/// it succeeded. If not, the value must be discarded and `failure` gives the reason. Not
/// thread-safe.
class Decoder {
 public:
  /// Adds everything that is dropped to `drops`, which may be null.
  explicit Decoder(std::vector<DroppedNode>* drops) : drops_(drops) {}

  [[nodiscard]] const ReadFailure& failure() const noexcept { return failure_; }

  bool read(const JsonNode& node, bool& value);
  bool read(const JsonNode& node, std::int64_t& value);
  bool read(const JsonNode& node, double& value);
  bool read(const JsonNode& node, std::string& value);
  bool read(const JsonNode& node, Text& value);
  bool read(const JsonNode& node, NumberOrText field);
  bool read(const JsonNode& node, TextOrList field);
  bool read(const JsonNode& node, SingleText field);
  bool read(const JsonNode& node, ExperimentType& value);
  bool read(const JsonNode& node, json::StoredDate& value);
  /// If several parts are invalid, any of the failures may be reported.
  bool read(const JsonNode& node, JsonValue& value);
  /// A failure anywhere inside is reported at the value as a whole.
  bool read(const JsonNode& node, dynamic::DynamicValue& value);

  /// Wrappers of a dynamic value.
  template <class W>
  requires(W::kDecodes) bool read(const JsonNode& node, W& wrapper) {
    return read(node, wrapper.value);
  }

  template <TextEnum E>
  bool read(const JsonNode& node, E& value) {
    constexpr auto& texts = EnumTexts<E>::list;
    if (node.kind != JsonKind::string) return wrongKind(node, "string");
    const auto found = std::ranges::find(texts, node.text(), &EnumText<E>::text);
    if (found == texts.end()) return fail(node, Why::unknownValue, EnumTexts<E>::what);
    value = found->value;
    return true;
  }

  /// Null means absent.
  template <class T>
  bool read(const JsonNode& node, std::optional<T>& value) {
    return node.kind == JsonKind::null || read(node, value.emplace());
  }

  template <class T>
  bool read(const JsonNode& node, List<T>& list) {
    return readElements(node, list,
                        [](const JsonNode& /*element*/, std::size_t /*listed*/) { return false; });
  }

  template <class L>
  bool read(const JsonNode& node, LossyArray<L> field) {
    return readElements(node, field.wrappedValue,
                        [this](const JsonNode& element, std::size_t listed) {
                          drop(element, listed);
                          return true;
                        });
  }

  template <class L>
  bool read(const JsonNode& node, LossyOrEmpty<L> field) {
    const auto listed = dropCount();
    if (!read(node, LossyArray<L>(field.wrappedValue))) drop(node, listed);
    return true;
  }

  template <class T>
  bool read(const JsonNode& node, std::map<std::string, T, std::less<>>& map) {
    if (node.kind != JsonKind::object) return wrongKind(node, "object");
    const auto last = lastMembers(node);
    for (const auto [key, value] : JsonMembers(node)) {
      if (last.find(key)->second == &value && !read(value, map[std::string(key)])) return false;
    }
    return true;
  }

  template <JsonRecord R>
  bool read(const JsonNode& node, R& record) {
    return readRecord(node, record);
  }
  bool read(const JsonNode& node, ConfigResponse& config) {
    config.owner = pool_.open();
    return readRecord(node, config);
  }

 private:
  using Why = ReadFailure::Why;

  template <class R>
  static constexpr std::size_t kFieldCount = std::tuple_size_v<decltype(Fields<R>::list)>;
  template <class R>
  using FieldIndexes = std::make_index_sequence<kFieldCount<R>>;
  /// The value of each field of a record, or null if its key is absent.
  template <class R>
  using FoundFields = std::array<const JsonNode*, kFieldCount<R>>;

  template <class R>
  static constexpr auto kKeys =
      std::apply([](const auto&... field) { return std::array{field.key...}; }, Fields<R>::list);
  template <class R>
  static constexpr std::size_t positionOf(std::string_view key) {
    return static_cast<std::size_t>(std::ranges::find(kKeys<R>, key) - kKeys<R>.begin());
  }

  bool fail(const JsonNode& node, Why why, std::string_view detail = {}) {
    failure_ = {&node, why, detail};
    return false;
  }
  bool wrongKind(const JsonNode& node, std::string_view wanted) {
    return fail(node, Why::wrongKind, wanted);
  }

  /// Arrays and objects whose children have yet to be read, and where to store them. They are kept
  /// in a list, so that a document's depth does not determine the stack use.
  using Containers = std::vector<std::pair<const JsonNode*, JsonValue*>>;

  bool readFlat(const JsonNode& node, JsonValue& value, Containers& unread);
  bool readChildren(const JsonNode& container, JsonValue& place, Containers& unread);
  bool readNumber(const JsonNode& node, JsonValue& value);
  template <class Kind>
  bool readKind(const JsonNode& node, JsonValue& value) {
    Kind kind;
    if (!read(node, kind)) return false;
    value = JsonValue(std::move(kind));
    return true;
  }

  /// The last member of each key.
  static std::map<std::string_view, const JsonNode*> lastMembers(const JsonNode& object);

  [[nodiscard]] std::size_t dropCount() const { return drops_ ? drops_->size() : 0; }
  void drop(const JsonNode& node, std::size_t listed);

  // Reads the whole list before storing it, so that dropped elements take no space.
  // `continueAfterFailure` returns whether to go on after an element that cannot be read.
  template <class L, class ContinueAfterFailure>
  bool readElements(const JsonNode& node, L& list, ContinueAfterFailure continueAfterFailure) {
    using T = typename L::value_type;
    if (node.kind != JsonKind::array) return wrongKind(node, "array");
    auto& unkept = std::get<std::vector<T>>(unkept_);
    const std::size_t first = unkept.size();
    bool isRead = true;
    for (const JsonNode& element : JsonElements(node)) {
      const auto listed = dropCount();
      if (read(element, unkept.emplace_back())) continue;
      unkept.pop_back();
      isRead = continueAfterFailure(element, listed);
      if (!isRead) break;
    }
    if (isRead) keep(std::span(unkept).subspan(first), list);
    unkept.resize(first);
    return isRead;
  }

  template <class T>
  void keep(std::span<T> elements, List<T>& list) {
    list = pool_.list(std::span<const T>(elements));
  }
  template <class T>
  void keep(std::span<T> elements, std::vector<T>& list) {
    list.assign(std::make_move_iterator(elements.begin()), std::make_move_iterator(elements.end()));
  }

  template <class R>
  bool readRecord(const JsonNode& node, R& record) {
    if (node.kind != JsonKind::object) return wrongKind(node, "object");
    return readFields(node, findFields<R>(node), record, FieldIndexes<R>());
  }

  // Takes one pass over the members, so that the fields can then be read in the order of their
  // table. The search continues where the last key was found, because most documents follow that
  // order.
  template <class R>
  static FoundFields<R> findFields(const JsonNode& object) {
    constexpr auto& keys = kKeys<R>;
    FoundFields<R> found{};
    std::size_t next = 0;
    for (const auto [key, value] : JsonMembers(object)) {
      for (std::size_t tried = 0; tried < keys.size(); ++tried, ++next) {
        if (next == keys.size()) next = 0;
        if (!base::sameBytes(keys[next], key)) continue;
        found[next++] = &value;
        break;
      }
    }
    return found;
  }

  template <class R, std::size_t... I>
  bool readFields(const JsonNode& owner, const FoundFields<R>& found, R& record,
                  std::index_sequence<I...>) {
    return (readField<I>(owner, found, record) && ...);
  }

  template <std::size_t I, class R>
  bool readField(const JsonNode& owner, const FoundFields<R>& found, R& record) {
    constexpr auto& field = std::get<I>(Fields<R>::list);
    using Form = typename std::remove_cvref_t<decltype(field)>::ReadAs;
    const JsonNode* node = found[I];
    if constexpr (field.presence == Presence::required) {
      if (!node) return fail(owner, Why::missingKey, field.key);
    } else if (isNone(node)) {
      return true;
    }
    if constexpr (field.presence == Presence::fallback) {
      constexpr std::size_t other = positionOf<R>(field.fallbackFor);
      if (!isNone(found[other])) return true;
    }
    return read(*node, Form(record.*field.member));
  }

  static bool isNone(const JsonNode* node) { return !node || node->kind == JsonKind::null; }

  std::vector<DroppedNode>* drops_;
  ReadFailure failure_;
  PoolWriter pool_;
  // The elements of the lists being read. No list contains another list of its own type, so an
  // element keeps its address while it is read.
  std::tuple<std::vector<Text>, std::vector<Condition>, std::vector<Rule>,
             std::vector<FeatureFlagGroup>, std::vector<FeatureFlag>, std::vector<LayerBounds>,
             std::vector<Group>, std::vector<Param::Value>, std::vector<Param>,
             std::vector<Experiment>>
      unkept_;
};

}  // namespace corvo::corvo_internal::model
