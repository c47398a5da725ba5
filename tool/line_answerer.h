// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation.h>

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "tool/answer_form.h"
#include "tool/line_batch.h"
#include "tool/user_line.h"

namespace corvo::tool {

/// Answers lines that each describe a user. Not thread-safe, but several instances may share
/// project, form and defaults, which must outlive them.
class LineAnswerer {
 public:
  LineAnswerer(const Project& project, const AnswerForm& form, const EvaluationContext& defaults,
               std::span<const UserDocument* const> common)
      : form_(form), user_(defaults, common), about_(project, {.now = 0}) {}

  void answer(LineBatch& batch);

 private:
  // A text of the project by its address. Its type is determined only once.
  struct Place {
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<const char*>()(text.data()) + text.size();
    }
    bool operator()(std::string_view a, std::string_view b) const noexcept {
      return a.data() == b.data() && a.size() == b.size();
    }
  };

  void answer(std::string_view line, std::size_t number, LineBatch& batch);
  void addMemberships(std::span<const Evaluation::Membership> memberships, bool areHoldouts,
                      std::string& out);
  static void refuse(const std::string& id, const UserLine::Fault& fault, std::size_t number,
                     std::size_t column, LineBatch& batch);
  const std::string& valueOf(std::string_view text);

  const AnswerForm& form_;
  UserLine user_;
  Evaluation about_;
  std::unordered_map<std::string_view, std::string, Place, Place> values_;
};

}  // namespace corvo::tool
