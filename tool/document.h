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
  std::string name;  ///< Where it comes from, for people.
  std::string text;
};

/// Which document a client's request is for.
[[nodiscard]] Document::Kind kindAskedFor(const UrlRequest& request);

/// Has a client fetch both documents and evaluate nothing, for whether they may be evaluated is to
/// be found out first. `size` is that of the configuration. Throws the `CorvoError` of a fetch.
void fetchDocuments(CorvoClient& client, std::size_t size);

/// What a client has against a document, as "name:line:column: reason"; none where it can decode
/// it.
[[nodiscard]] std::optional<std::string> faultOf(const Document& document);

/// A backend that answers at once with a configuration and a location.
[[nodiscard]] std::shared_ptr<UrlSession> sessionOf(std::string configuration,
                                                    std::string location);

}  // namespace corvo::tool
