#pragma once

#include <corvo/user.h>

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "model/config.h"

namespace corvo::corvo_internal::model {

/// Why a text could not be decoded: the first failure, and where it is (RFC 6901). A missing key is
/// reported at the object that lacks it; a text that is no JSON, at the root. Keys are read in the
/// order of their record, whatever the document's, and the first failure in that order counts.
struct DecodingFailure {
  std::string reason;
  std::string pointer;
  /// The number of the value in document order, keys counted, from 0; none for a text that is not
  /// JSON.
  std::optional<std::size_t> node = {};

  /// A short text for people, stable from version to version.
  [[nodiscard]] std::string description() const;
};

template <class T>
using Decoded = std::variant<T, DecodingFailure>;

/// Decodes a JSON text. Exists for the types that are stored or received: `ConfigResponse`,
/// `CorvoUser`, `PropertyMap`, `ForcedExperiments`, `std::string`, `json::StoredDate`; and for the
/// `dynamic::AnyCodable` and `dynamic::AnyDecodable`. Throws nothing but `std::bad_alloc`: what
/// a text holds cannot be told when memory runs out. Texts are accepted as far as RFC 8259 goes,
/// and nothing beyond it: UTF-8, a leading byte order mark skipped, 512 levels deep, the last of
/// duplicate keys. An integer may be written in any way (1.0, 1e0); whether a number is one is
/// decided on its digits, exactly. A number that fits no type fails the value that it is read for,
/// and nothing where nobody reads it.
template <class T>
[[nodiscard]] Decoded<T> decodeJson(std::string_view json);

/// Encodes a value as JSON text. None when it holds a number that JSON cannot express.
template <class T>
[[nodiscard]] std::optional<std::string> encodeJson(const T& value);

/// An element that a tolerant list dropped, or a field that absorbed a failure as a whole. The
/// reason is that of the first failure in it, with its place where that lies deeper.
struct Drop {
  std::string pointer;  ///< RFC 6901.
  std::string reason;
  std::size_t node = 0;  ///< Its number in document order, keys counted, from 0.

  bool operator==(const Drop&) const = default;
};

/// Decodes a configuration and lists, in document order, what the reader dropped and why. For
/// tools. Nothing is listed inside a dropped element.
[[nodiscard]] Decoded<ConfigResponse> decodeConfig(std::string_view json, std::vector<Drop>& drops);

}  // namespace corvo::corvo_internal::model
