// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/client.h>

#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>

#include "c/call.h"
#include "c/caller_functions.h"
#include "c/caller_platform.h"
#include "c/client_objects.h"
#include "c/objects.h"
#include "c/ready_made.h"
#include "c/service_call.h"
#include "c/user_object.h"

namespace corvo::corvo_internal::c {
namespace {

constexpr std::tuple kServices(&Platform::clock, &Platform::timeZone, &Platform::mainQueue,
                               &Platform::urlSession, &Platform::preferencesStore,
                               &Platform::device, &Platform::secureRandom);

/// What the caller brings, and the ready-made platform for the rest. The loop counts if something
/// of it is used.
std::shared_ptr<RegistryObject> makeRegistry(const corvo_host_options* options, Platform own) {
  const auto isComplete = [&](auto... service) { return (... && (own.*service)); };
  if (std::apply(isComplete, kServices)) {
    return std::make_shared<RegistryObject>(std::move(own), nullptr);
  }
  Host host = readyMade(options);
  if (own.mainQueue && own.urlSession) host.loop = nullptr;
  const auto fill = [](auto& service, auto& other) {
    if (!service) service = std::move(other);
  };
  const auto fillAll = [&](auto... service) { (fill(own.*service, host.platform.*service), ...); };
  std::apply(fillAll, kServices);
  return std::make_shared<RegistryObject>(std::move(own), std::move(host.loop));
}

/// The loop of the ready-made platform. Throws `Misuse` if the registry does not use it.
HostLoop& loopOf(const RegistryObject& registry) {
  if (!registry.loop) throw Misuse(CORVO_UNAVAILABLE, "the registry uses no ready-made loop");
  return *registry.loop;
}

template <class Body>
corvo_status withLoop(const corvo_registry* registry, Body body) {
  return call([&] {
    const auto object = shared(registries(), registry);
    body(loopOf(*object));
  });
}
template <class Body>
corvo_status runLoop(const corvo_registry* registry, Body body) {
  return call([&] {
    const auto object = shared(registries(), registry);
    HostLoop& loop = loopOf(*object);
    const OneThread::Stay running(object->running);
    body(loop);
  });
}

/// A function with its context, which is destroyed with the last copy.
class OwnedFunction {
 public:
  OwnedFunction(void* context, void (*function)(void*), void (*destroy)(void*))
      : context_(ownedContext(context, destroy)), function_(function) {}

  void operator()() const {
    if (function_ != nullptr) function_(context_.get());
  }

 private:
  std::shared_ptr<void> context_;
  void (*function_)(void*);
};

NonNegative orDefault(std::uint64_t given, NonNegative otherwise) {
  return given == 0 ? otherwise : NonNegative(given);
}

NonNegative retryCountOf(std::int64_t given, NonNegative otherwise) {
  if (given == CORVO_NO_RETRIES) return 0U;
  if (const auto count = NonNegative::checked(given)) return orDefault(count->value, otherwise);
  throw Misuse(CORVO_INVALID_ARGUMENT, "the number of retries is negative");
}

std::string_view tagOf(corvo_text given) { return optionalViewOf(given).value_or("default"); }

ClientOptions optionsOf(const corvo_client_options& given) {
  if (given.project_token.data == nullptr || given.api_url.data == nullptr) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "the project token or the address is missing");
  }
  ClientOptions options{.projectToken = viewOf(given.project_token),
                        .apiURL = viewOf(given.api_url)};
  if (given.initial_user != nullptr) {
    useAlone(users(), given.initial_user,
             [&](const UserObject& user) { options.initialUser = user.builder->build(); });
  }
  options.cacheTTL = orDefault(given.cache_ttl, options.cacheTTL);
  options.retryCount = retryCountOf(given.retry_count, options.retryCount);
  options.tag = tagOf(given.tag);
  return options;
}

corvo_client* clientHandle(const std::shared_ptr<RegistryObject>& registry,
                           std::shared_ptr<CorvoClient> client) {
  const std::lock_guard lock(registry->mutex);
  auto& known = registry->clients;
  std::erase_if(known, [](const auto& each) { return each.expired(); });
  for (const auto& each : known) {
    auto object = each.lock();
    if (object && object->client == client) {
      return handleIn<corvo_client>(clients(), std::move(object));
    }
  }
  auto object = std::make_shared<ClientObject>(registry, std::move(client));
  known.push_back(object);
  return handleIn<corvo_client>(clients(), std::move(object));
}

}  // namespace
}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_registry_create(const corvo_host_options* host, const corvo_platform* platform,
                                   corvo_registry** registry) {
  return call([&] {
    Platform own = callerPlatform(platform);
    corvo_registry*& result = resultAt(registry);
    if (host != nullptr) sizedAt(host);
    result = handleIn<corvo_registry>(registries(), makeRegistry(host, std::move(own)));
  });
}

corvo_status corvo_registry_free(corvo_registry* registry) {
  return call([&] {
    const auto last = takeFrom(registries(), registry);
    if (last->loop) last->loop->stop();
  });
}

corvo_status corvo_registry_run(corvo_registry* registry) {
  return runLoop(registry, [&](HostLoop& loop) {
    loop.run();
    // A freed registry also ends the run that this one is in.
    if (!registries().share(registry)) loop.stop();
  });
}

corvo_status corvo_registry_stop(corvo_registry* registry) {
  return withLoop(registry, [](HostLoop& loop) { loop.stop(); });
}

corvo_status corvo_registry_tick(corvo_registry* registry) {
  return runLoop(registry, [](HostLoop& loop) { loop.tick(); });
}

corvo_status corvo_registry_busy(corvo_registry* registry, bool* busy) {
  return withLoop(registry, [&](const HostLoop& loop) {
    bool& result = resultAt(busy);
    result = loop.busy();
  });
}

corvo_status corvo_registry_on_work(corvo_registry* registry, void* context,
                                    void (*listener)(void* context),
                                    void (*destroy)(void* context)) {
  return call([&] {
    OwnedFunction owned(context, listener, destroy);
    const auto object = shared(registries(), registry);
    HostLoop& loop = loopOf(*object);
    if (listener == nullptr) return loop.onWork(nullptr);
    loop.onWork(std::move(owned));
  });
}

corvo_status corvo_registry_post(corvo_registry* registry, void* context,
                                 void (*task)(void* context), void (*destroy)(void* context)) {
  return call([&] {
    OwnedFunction owned(context, task, destroy);
    const auto object = shared(registries(), registry);
    loopOf(*object).post(std::move(owned));
  });
}

corvo_status corvo_registry_initialize_client(corvo_registry* registry,
                                              const corvo_client_options* options,
                                              corvo_client** client) {
  return call([&] {
    corvo_client*& result = resultAt(client);
    const auto object = shared(registries(), registry);
    ServiceCall::refuse();
    ClientOptions given = optionsOf(sizedAt(options));
    const std::string tag = given.tag.value;
    auto made = object->registry.initializeClient(std::move(given));
    try {
      result = clientHandle(object, std::move(made));
    } catch (const std::exception&) {  // no memory for the handle
      object->registry.removeClient(tag);
      throw;
    }
  });
}

corvo_status corvo_registry_get_client(corvo_registry* registry, corvo_text tag,
                                       corvo_client** client) {
  return call([&] {
    corvo_client*& result = resultAt(client);
    const auto object = shared(registries(), registry);
    auto found = object->registry.getClient(tagOf(tag));
    result = found ? clientHandle(object, std::move(found)) : nullptr;
  });
}

corvo_status corvo_registry_remove_client(corvo_registry* registry, corvo_text tag) {
  return call([&] { shared(registries(), registry)->registry.removeClient(tagOf(tag)); });
}
