// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvo::corvo_internal::network {

enum class Method : std::uint8_t { get, post };

/// An item of an address's query. Without a value, only the name is written, which differs from an
/// empty value.
struct QueryItem {
  std::string name;
  std::optional<std::string> value;

  bool operator==(const QueryItem&) const = default;
};

/// A request to the backend, as a value. A concrete route derives from it and adds a
/// `ResponseType`, the type into which a successful answer is decoded. No request has a body: all
/// data travels in the headers and the query.
struct NetworkRoute {
  Method method = Method::get;
  std::string path;  ///< Relative to the base address, without a leading slash.
  std::map<std::string, std::string> headers;  ///< Override the client's own of equal names.
  std::vector<QueryItem> queryItems;           ///< If empty, the address has no query.
};

}  // namespace corvo::corvo_internal::network
