#pragma once

#include <corvo/client.h>

#include <string_view>

#include "client/question.h"

namespace corvo::corvo_internal::client {

/// Decides about the text of one flag.
struct DecidingFlag {
  Name name;

  [[nodiscard]] static Question::About about(const project::PreparedProject& /*project*/) {
    return Question::About::user;
  }
  [[nodiscard]] Result<std::string_view> decide(const Evidence& evidence) const;
  [[nodiscard]] DecidingFlag detach() const { return {name.detach()}; }
};

/// The report on all flags: those with a value, each typed by its text.
[[nodiscard]] FlagReport reportFlags(const Evidence& evidence);

}  // namespace corvo::corvo_internal::client
