// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client.h>
#include <corvo/platform/url_session.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

namespace corvo::tool {

/// One of the two documents of a backend.
struct Document {
  enum class Kind { configuration, location };

  Kind kind{};
  std::string name;  ///< Its source, for messages.
  std::string text;
};

/// The document that a client's request is for.
[[nodiscard]] Document::Kind kindAskedFor(const UrlRequest& request);

/// Makes a client fetch both documents without evaluating anything, because they have yet to be
/// checked. `size` is the size of the configuration. Throws the `CorvoError` of a fetch.
void fetchDocuments(CorvoClient& client, std::size_t size);

/// Why a client rejects a document, as "name:line:column: reason"; empty if it can decode it.
[[nodiscard]] std::optional<std::string> faultOf(const Document& document);

/// A backend that answers immediately with a configuration and a location.
[[nodiscard]] std::shared_ptr<UrlSession> sessionOf(std::string configuration,
                                                    std::string location);

}  // namespace corvo::tool
