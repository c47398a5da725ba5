// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/client.h>
#include <corvo/client.h>
#include <corvo/client_registry.h>
#include <corvo/host.h>
#include <corvo/platform/main_queue.h>
#include <corvo/platform/platform.h>

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "c/handle_table.h"
#include "c/one_thread.h"

namespace corvo::corvo_internal::c {

struct ClientObject;

/// What the handles of `corvo/c/client.h` stand for.
struct RegistryObject {
  RegistryObject(Platform all, std::shared_ptr<HostLoop> itsLoop)
      : platform(std::move(all)), loop(std::move(itsLoop)), registry(platform) {}

  const Platform platform;
  const std::shared_ptr<HostLoop> loop;  // null if nothing of the platform uses it
  OneThread running;                     // the loop
  ClientRegistry registry;
  std::mutex mutex;
  std::vector<std::weak_ptr<ClientObject>> clients;  // guarded by the mutex
};

/// All handles of a client share it, so that concurrent use is noticed through any of them.
struct ClientObject {
  ClientObject(std::shared_ptr<RegistryObject> itsRegistry, std::shared_ptr<CorvoClient> itsClient)
      : registry(std::move(itsRegistry)), client(std::move(itsClient)) {}

  const std::shared_ptr<RegistryObject> registry;
  const std::shared_ptr<CorvoClient> client;
  OneThread turn;
};

inline auto& registries() { return tableOf<RegistryObject, Mark::registry, true>(); }
inline auto& clients() { return tableOf<ClientObject, Mark::client, true>(); }

}  // namespace corvo::corvo_internal::c
