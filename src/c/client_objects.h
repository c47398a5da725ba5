// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c/client.h>
#include <corvo/client.h>
#include <corvo/client_registry.h>
#include <corvo/host.h>
#include <corvo/platform/main_queue.h>
#include <corvo/platform/platform.h>
#include <corvo/user_builder.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "c/handle_table.h"
#include "c/one_thread.h"

namespace corvo::corvo_internal::c {

/// What the handles of `corvo/c/client.h` stand for.
struct RegistryObject {
  RegistryObject(Platform all, std::shared_ptr<HostLoop> itsLoop)
      : platform(std::move(all)), loop(std::move(itsLoop)), registry(platform) {}

  const Platform platform;
  const std::shared_ptr<HostLoop> loop;  // null if nothing of the platform uses it
  OneThread running;                     // the loop
  ClientRegistry registry;
};

struct ClientObject {
  ClientObject(std::shared_ptr<RegistryObject> itsRegistry, std::shared_ptr<CorvoClient> itsClient)
      : registry(std::move(itsRegistry)), client(std::move(itsClient)) {}

  const std::shared_ptr<RegistryObject> registry;
  const std::shared_ptr<CorvoClient> client;
  OneThread turn;
};

/// A user of the caller's, or the one that a client lets the caller edit.
struct UserObject {
  std::optional<CorvoUser::Builder> own;
  CorvoUser::Builder* builder = nullptr;
  std::string description;
};

inline auto& registries() {
  static auto& table = *new HandleTable<RegistryObject, 5, true>();
  return table;
}
inline auto& users() {
  static auto& table = *new HandleTable<UserObject, 6, false>();
  return table;
}
inline auto& clients() {
  static auto& table = *new HandleTable<ClientObject, 7, true>();
  return table;
}

}  // namespace corvo::corvo_internal::c
