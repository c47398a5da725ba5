// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/client_registry.h>
#include <corvo/host.h>

#include <cstddef>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "bench/project.h"

namespace corvo::bench {

/// A client on the host's platform, except that its backend answers immediately with these texts.
class BenchClient {
 public:
  explicit BenchClient(std::string config, HostOptions options = {.inMemory = true},
                       std::optional<CorvoUser> initialUser = user());

  CorvoClient& operator*() const { return *client_; }
  CorvoClient* operator->() const { return client_.get(); }

  /// Fetches configuration and location.
  void load() const { client_->getAllUserExperimentsText().get(); }

 private:
  std::unique_ptr<ClientRegistry> registry_;
  std::shared_ptr<CorvoClient> client_;
};

/// A folder for a client's file, deleted with this object.
class DataFolder {
 public:
  explicit DataFolder(const char* name) : folder_(std::filesystem::temp_directory_path() / name) {}
  ~DataFolder() { std::filesystem::remove_all(folder_); }
  DataFolder(const DataFolder&) = delete;
  DataFolder& operator=(const DataFolder&) = delete;

  [[nodiscard]] HostOptions options() const { return {.dataFolder = folder_}; }

 private:
  std::filesystem::path folder_;
};

/// The client of a project with that many flags, created on first use; its cached copies are fresh.
CorvoClient& clientOf(std::size_t flagCount);

/// The client of a project with 1,000 experiments.
CorvoClient& clientOfExperiments();

}  // namespace corvo::bench
