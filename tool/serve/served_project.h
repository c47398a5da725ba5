// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/lint.h>
#include <corvo/project.h>
#include <corvo/user.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tool/serve/served_file.h"

namespace corvo::tool {

/// What the two documents of a project say at one moment.
struct Snapshot {
  std::optional<std::string> configuration;  ///< Absent if the file cannot be read.
  std::optional<std::string> location;       ///< The same.
  std::string version;                       ///< Of both texts; the same in every process.
  std::vector<Finding> findings;             ///< In the configuration.
  std::optional<Project> project;            ///< As a client sees it, if it can decode it.
  PropertyMap place;                         ///< The decoded location.
  std::string refusal;  ///< Why nothing may be evaluated, in lines; empty if there is no reason.
};

/// A document by the name of its source, for messages.
struct NamedText {
  std::string name;
  std::optional<std::string> text;  ///< Absent if it cannot be read.
};

/// Decodes and checks the two documents of a project.
[[nodiscard]] std::shared_ptr<const Snapshot> snapshotOf(NamedText configuration,
                                                         NamedText location);

/// The project of two files, decoded and checked once per edit. Thread-safe.
class ServedProject {
 public:
  /// Refers to the files.
  ServedProject(ServedFile& configuration, ServedFile& location)
      : configuration_(configuration), location_(location) {}

  /// What the files say now.
  [[nodiscard]] std::shared_ptr<const Snapshot> peek();
  /// The same; its faults are reported.
  [[nodiscard]] std::shared_ptr<const Snapshot> now();
  /// Reports the faults of both documents, as `ServedFile::report` does.
  void report(const Snapshot& snapshot);

  /// The names of the files.
  [[nodiscard]] const std::string& name() const { return configuration_.path(); }
  [[nodiscard]] const std::string& locationName() const { return location_.path(); }

 private:
  ServedFile& configuration_;
  ServedFile& location_;
  std::mutex mutex_;
  std::shared_ptr<const Snapshot> last_;  // guarded
};

}  // namespace corvo::tool
