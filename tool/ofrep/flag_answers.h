// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/evaluation.h>
#include <corvo/project.h>
#include <corvo/text_hash.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/md5.h"
#include "tool/experiment_list.h"

namespace corvo::tool {

/// The flags and experiments of a project by position, as `Evaluation` numbers them. Immutable.
class FlagCatalogue {
 public:
  explicit FlagCatalogue(const Project& project);

  /// The position of the flag of that name, if there is one. Ill-formed UTF-8 in it is replaced.
  [[nodiscard]] std::optional<std::size_t> find(std::string_view name) const;
  /// The positions of all flags.
  [[nodiscard]] const std::vector<std::size_t>& all() const noexcept { return all_; }

  [[nodiscard]] const std::string& name(std::size_t flag) const { return flags_[flag].name; }
  [[nodiscard]] const Project::Experiment& experiment(std::size_t position) const {
    return experiments_[position];
  }

 private:
  std::vector<Project::Flag> flags_;
  std::vector<std::size_t> all_;
  std::unordered_map<std::string, std::size_t, TextHash, std::equal_to<>> positions_;
  std::vector<ListedExperiment> experiments_;
};

/// An answer about one flag.
struct FlagAnswer {
  std::string json;  ///< An object. That of a success ends with its metadata.
  corvo_internal::base::Md5Digest digest{};  ///< Of the JSON.
  bool isSuccess = true;
};

/// Writes decisions about flags as the protocol's answers, each only once. Refers to the
/// catalogue. Not thread-safe.
class FlagAnswers {
 public:
  explicit FlagAnswers(const FlagCatalogue& catalogue) : catalogue_(catalogue) {}

  /// The answer. Valid as long as this object.
  const FlagAnswer& answerTo(const Evaluation::FlagDecision& decision);

 private:
  // Whatever an answer depends on. Positions are counted from 1; 0 stands for none.
  struct Cause {
    std::size_t flag;
    std::size_t experiment;
    std::size_t group;
    std::size_t rule;
    FlagReason reason;
    bool operator==(const Cause&) const = default;
  };
  struct CauseHash {
    std::size_t operator()(const Cause& cause) const noexcept;
  };

  [[nodiscard]] std::string success(const Evaluation::FlagDecision& decision) const;

  const FlagCatalogue& catalogue_;
  std::unordered_map<Cause, FlagAnswer, CauseHash> answers_;
};

/// The JSON of a failure. The key is that of the flag, if the request is about one.
[[nodiscard]] std::string failureJson(std::optional<std::string_view> key, std::string_view code,
                                      std::string_view details);

/// A success with one more member of its metadata, such as `"name":"text"`.
[[nodiscard]] std::string withMetadata(std::string_view success, std::string_view member);

}  // namespace corvo::tool
