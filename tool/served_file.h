#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "tool/document.h"

namespace corvo::tool {

/// A document that a backend serves: a file that is read anew each time, or without a path an empty
/// object. Any thread.
class ServedFile {
 public:
  ServedFile(std::string path, Document::Kind kind) : path_(std::move(path)), kind_(kind) {}

  /// What the file holds at this moment; none when it cannot be read. Where a client could not
  /// decode that, standard error gets a line "file:line:column: reason": one for each content that
  /// follows another.
  [[nodiscard]] std::optional<std::string> read();

  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  const std::string path_;
  const Document::Kind kind_;
  std::mutex mutex_;
  std::optional<std::string> checked_;  // guarded
};

}  // namespace corvo::tool
