// SPDX-License-Identifier: Apache-2.0

#include "model/codec.h"

#include <algorithm>
#include <utility>

#include "dynamic/any_codable.h"
#include "json/json_pointer.h"
#include "json/json_tree.h"
#include "json/json_writer.h"
#include "json/stored_date.h"
#include "model/decoder.h"
#include "model/encoder.h"

namespace corvo::corvo_internal::model {
namespace {

DecodingFailure explain(const ReadFailure& failure, const JsonNode& root) {
  return {failure.reason(), json::pointersTo({failure.node}, root).front(),
          static_cast<std::size_t>(failure.node - &root)};
}

// Records are decoded in the order of their tables, which may differ from the document's.
std::vector<Drop> explain(std::vector<DroppedNode> dropped, const JsonNode& root) {
  std::sort(dropped.begin(), dropped.end(),
            [](const DroppedNode& a, const DroppedNode& b) { return a.node < b.node; });
  std::vector<const JsonNode*> nodes;
  for (const auto& [node, failure] : dropped) nodes.insert(nodes.end(), {node, failure.node});
  auto pointers = json::pointersTo(nodes, root);

  std::vector<Drop> drops;
  for (std::size_t i = 0; i < dropped.size(); ++i) {
    auto& pointer = pointers[2 * i];
    auto& cause = pointers[2 * i + 1];
    auto reason = dropped[i].failure.reason();
    if (cause != pointer)
      reason = DecodingFailure{std::move(reason), std::move(cause), {}}.description();
    drops.push_back(
        {std::move(pointer), std::move(reason), static_cast<std::size_t>(dropped[i].node - &root)});
  }
  return drops;
}

template <class T>
Decoded<T> decode(std::string_view json, std::vector<Drop>* drops = nullptr) {
  const json::JsonTree tree(json);
  if (!tree.root()) return DecodingFailure{std::string(tree.error()), ""};

  std::vector<DroppedNode> dropped;
  Decoder decoder(drops ? &dropped : nullptr);
  Decoded<T> result;
  if (!decoder.read(*tree.root(), std::get<T>(result)))
    return explain(decoder.failure(), *tree.root());
  if (drops) *drops = explain(std::move(dropped), *tree.root());
  return result;
}

}  // namespace

std::string DecodingFailure::description() const {
  return pointer.empty() ? reason : reason + " at " + pointer;
}

Decoded<ConfigResponse> decodeConfig(std::string_view json, std::vector<Drop>& drops) {
  drops.clear();
  return decode<ConfigResponse>(json, &drops);
}

template <class T>
Decoded<T> decodeJson(std::string_view json) {
  return decode<T>(json);
}

template <class T>
std::optional<std::string> encodeJson(const T& value) {
  json::JsonWriter writer;
  Encoder(writer).write(value);
  return writer.isFaithful() ? std::optional(writer.take()) : std::nullopt;
}

template Decoded<ConfigResponse> decodeJson(std::string_view);
template Decoded<CorvoUser> decodeJson(std::string_view);
template Decoded<PropertyMap> decodeJson(std::string_view);
template Decoded<ForcedExperiments> decodeJson(std::string_view);
template Decoded<std::string> decodeJson(std::string_view);
template Decoded<json::StoredDate> decodeJson(std::string_view);
template Decoded<dynamic::AnyCodable> decodeJson(std::string_view);
template Decoded<dynamic::AnyDecodable> decodeJson(std::string_view);

template std::optional<std::string> encodeJson(const ConfigResponse&);
template std::optional<std::string> encodeJson(const CorvoUser&);
template std::optional<std::string> encodeJson(const PropertyMap&);
template std::optional<std::string> encodeJson(const ForcedExperiments&);
template std::optional<std::string> encodeJson(const std::string&);
template std::optional<std::string> encodeJson(const json::StoredDate&);

}  // namespace corvo::corvo_internal::model
