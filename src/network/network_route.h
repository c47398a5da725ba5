#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corvo::corvo_internal::network {

enum class Method : std::uint8_t { get, post };

/// One item of an address's query. Without a value it is the bare name; an empty value is not that.
struct QueryItem {
  std::string name;
  std::optional<std::string> value;

  bool operator==(const QueryItem&) const = default;
};

/// One call to the backend, as a value. A concrete route derives from it and adds a `ResponseType`,
/// the type that a successful answer decodes into. No call has a body: what it says travels in the
/// headers and the query.
struct NetworkRoute {
  Method method = Method::get;
  std::string path;                            ///< Below the base address, without a leading slash.
  std::map<std::string, std::string> headers;  ///< These replace the client's own of equal names.
  std::vector<QueryItem> queryItems;           ///< None: the address has no query.
};

}  // namespace corvo::corvo_internal::network
