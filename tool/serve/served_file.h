// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "tool/document.h"

namespace corvo::tool {

/// A document that the backend serves: a file that is read for each request, or an empty object if
/// there is no path. Thread-safe.
class ServedFile {
 public:
  ServedFile(std::string path, Document::Kind kind) : path_(std::move(path)), kind_(kind) {}

  /// The current content of the file; absent if it cannot be read.
  [[nodiscard]] std::optional<std::string> peek() const;

  /// If a client could not decode this content, prints "file:line:column: reason" on standard
  /// error, once per change of the content.
  void report(const std::optional<std::string>& content);

  /// Does both.
  [[nodiscard]] std::optional<std::string> read();

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  const std::string path_;
  const Document::Kind kind_;
  std::mutex mutex_;
  std::optional<std::string> checked_;  // guarded
};

}  // namespace corvo::tool
