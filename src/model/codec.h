// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/user.h>

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "model/config.h"

namespace corvo::corvo_internal::model {

/// Why a text could not be decoded: the first failure and its place (RFC 6901). A missing key is
/// reported at the object that lacks it; invalid JSON is reported at the root. Keys are decoded in
/// the order of their record, not of the document, so the first failure is the first in that order.
struct DecodingFailure {
  std::string reason;
  std::string pointer;
  /// The index of the value in document order, counting keys, from 0. Empty if the text is not
  /// valid JSON.
  std::optional<std::size_t> node = {};

  /// A short description for people, stable across versions.
  [[nodiscard]] std::string description() const;
};

template <class T>
using Decoded = std::variant<T, DecodingFailure>;

/// Decodes a JSON text. Defined for the types that are stored or received: `ConfigResponse`,
/// `CorvoUser`, `PropertyMap`, `ForcedExperiments`, `std::string`, `json::StoredDate`; and for
/// `dynamic::AnyCodable` and `dynamic::AnyDecodable`.
///
/// Throws only `std::bad_alloc`, because without memory a text can be neither accepted nor
/// rejected.
///
/// Accepts exactly RFC 8259: UTF-8, at most 512 levels deep. Skips a leading byte order mark. If
/// keys repeat, the last one counts. An integer may be written in any form (1.0, 1e0); whether a
/// number is an integer is decided exactly, on its digits. A number that fits no type fails only
/// the value that reads it, and is ignored if nothing reads it.
template <class T>
[[nodiscard]] Decoded<T> decodeJson(std::string_view json);

/// Encodes a value as JSON text. Empty if the value contains a number that JSON cannot express.
template <class T>
[[nodiscard]] std::optional<std::string> encodeJson(const T& value);

/// An element that a tolerant list dropped, or a field that ignored its invalid value. The reason
/// is the first failure in it, with its place if that is deeper.
struct Drop {
  std::string pointer;  ///< RFC 6901.
  std::string reason;
  std::size_t node = 0;  ///< Its index in document order, counting keys, from 0.

  bool operator==(const Drop&) const = default;
};

/// Decodes a configuration and lists, in document order, what was dropped and why. For tools.
/// Nothing inside a dropped element is listed.
[[nodiscard]] Decoded<ConfigResponse> decodeConfig(std::string_view json, std::vector<Drop>& drops);

}  // namespace corvo::corvo_internal::model
