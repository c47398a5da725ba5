// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "tool/ofrep/flag_answers.h"
#include "tool/ofrep/ofrep_context.h"
#include "tool/ofrep/publication.h"
#include "tool/surroundings.h"

namespace corvo::tool {

/// An edition with what all its answers have in common. Immutable.
struct PreparedEdition {
  /// `streamPath` is the address of the event stream: its path, and perhaps a query.
  PreparedEdition(std::shared_ptr<const Edition> of, std::string_view streamPath);

  std::shared_ptr<const Edition> edition;
  ContextKeys keys;
  FlagCatalogue catalogue;
  std::string streams;  ///< The member of bulk answers that names the stream.
};

/// Answers questions with one edition, which it keeps alive. It reuses its memory, so keep it for
/// the next request. Not thread-safe.
class EditionAnswers {
 public:
  EditionAnswers(std::shared_ptr<const PreparedEdition> edition, const Surroundings& surroundings);

  [[nodiscard]] const std::shared_ptr<const PreparedEdition>& edition() const noexcept {
    return edition_;
  }

  /// Reads the user in question from the body of a request, which must stay in memory until
  /// `forgetUser`.
  [[nodiscard]] std::optional<OfrepFailure> read(std::string_view body);
  void forgetUser() { context_.forget(); }

  /// The answer for one flag; absent if there is no such flag for the user.
  [[nodiscard]] std::optional<std::string> one(std::string_view flag);

  /// The answer for all flags, and its strong entity tag.
  struct All {
    std::string json;
    std::string tag;
  };
  [[nodiscard]] All all();

 private:
  [[nodiscard]] std::string ignoredMember() const;

  std::shared_ptr<const PreparedEdition> edition_;
  OfrepContext context_;
  Evaluation about_;
  FlagAnswers answers_;
  std::string digests_;
};

}  // namespace corvo::tool
