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

/// A client on the host's platform, but for the backend: that answers on the spot, with these
/// texts.
class BenchClient {
 public:
  explicit BenchClient(std::string config, HostOptions options = {.inMemory = true},
                       std::optional<CorvoUser> initialUser = user());

  CorvoClient& operator*() const { return *client_; }
  CorvoClient* operator->() const { return client_.get(); }

  /// Has configuration and location fetched.
  void load() const { client_->getAllUserExperimentsText().get(); }

 private:
  std::unique_ptr<ClientRegistry> registry_;
  std::shared_ptr<CorvoClient> client_;
};

/// A folder for a client's file, gone with this object.
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

/// The client of a project of that many flags, made on first use; fresh copies are at hand.
CorvoClient& clientOf(std::size_t flagCount);

/// That of a project of 1,000 experiments.
CorvoClient& clientOfExperiments();

}  // namespace corvo::bench
