// SPDX-License-Identifier: Apache-2.0

#include <corvo/corvo.h>

#include <mutex>
#include <stdexcept>
#include <utility>

namespace corvo {
namespace {

/// The registry of the process, and the host's loop if the host's platform is in use.
struct Process {
  std::shared_ptr<HostLoop> loop;
  ClientRegistry registry;

  explicit Process(Host host) : loop(std::move(host.loop)), registry(std::move(host.platform)) {}
  explicit Process(Platform platform) : registry(std::move(platform)) {}
};

// Created on first use and never destroyed, because callbacks may still run while the process
// exits.
std::mutex& mutex() {
  static auto& only = *new std::mutex();
  return only;
}
Process* made = nullptr;  // guarded by mutex()

Process& process() {
  const std::lock_guard lock(mutex());
  if (made == nullptr) made = new Process(makeHost());
  return *made;
}

}  // namespace

std::shared_ptr<CorvoClient> Corvo::initializeClient(ClientOptions options) {
  return process().registry.initializeClient(std::move(options));
}

std::shared_ptr<CorvoClient> Corvo::initializeClient(std::string_view projectToken,
                                                     std::optional<CorvoUser> initialUser,
                                                     std::string_view apiURL, NonNegative cacheTTL,
                                                     NonNegative retryCount, std::string_view tag) {
  return process().registry.initializeClient(projectToken, std::move(initialUser), apiURL, cacheTTL,
                                             retryCount, tag);
}

std::shared_ptr<CorvoClient> Corvo::getClient(std::string_view tag) {
  return process().registry.getClient(tag);
}

void Corvo::removeClient(std::string_view tag) { process().registry.removeClient(tag); }

std::shared_ptr<HostLoop> Corvo::loop() { return process().loop; }

void Corvo::usePlatform(Platform platform) {
  const std::lock_guard lock(mutex());
  if (made != nullptr) throw std::logic_error("the platform of Corvo is already in use");
  made = new Process(std::move(platform));
}

}  // namespace corvo
