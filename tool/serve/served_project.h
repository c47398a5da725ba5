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

/// What the two files of a backend say at one moment.
struct Snapshot {
  std::optional<std::string> configuration;  ///< Absent if the file cannot be read.
  std::optional<std::string> location;       ///< The same.
  std::string version;                       ///< Differs if one of the texts differs.
  std::vector<Finding> findings;             ///< In the configuration.
  std::optional<Project> project;            ///< As a client sees it, if it can decode it.
  PropertyMap place;                         ///< The decoded location.
  std::string refusal;  ///< Why nothing may be evaluated, in lines; empty if there is no reason.
};

/// The project of two files, decoded and checked once per edit. Thread-safe.
class ServedProject {
 public:
  /// Refers to the files.
  ServedProject(ServedFile& configuration, ServedFile& location)
      : configuration_(configuration), location_(location) {}

  [[nodiscard]] std::shared_ptr<const Snapshot> now();

  /// The name of the configuration's file.
  [[nodiscard]] const std::string& name() const { return configuration_.path(); }

 private:
  ServedFile& configuration_;
  ServedFile& location_;
  std::mutex mutex_;
  std::shared_ptr<const Snapshot> last_;  // guarded
};

}  // namespace corvo::tool
