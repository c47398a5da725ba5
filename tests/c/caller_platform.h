// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/c.h>
#include <corvo/fakes.h>

#include <cstring>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvo::corvo_internal::c {

inline std::string_view viewOf(corvo_text text) { return {text.data, text.size}; }
inline corvo_text textOf(std::string_view text) { return {text.data(), text.size()}; }

/// A platform whose functions are C's. The fakes do its work, and a test can make it fail.
struct CallerPlatform {
  fakes::FakePlatform fake;
  std::map<std::string, std::string> stored;  // by suite and key
  bool opens = true;
  bool reads = true;
  bool writes = true;
  bool isRandom = true;
  std::vector<corvo_exchange*> heldBack;  // requests, if they are not passed on to the fakes
  bool holdsBack = false;
  int destroyed = 0;

  static CallerPlatform& of(void* context) { return *static_cast<CallerPlatform*>(context); }

  static std::string placeOf(corvo_text suite, corvo_text key) {
    return std::string(viewOf(suite)) + "\n" + std::string(viewOf(key));
  }

  static void start(void* context, const corvo_request* request, corvo_exchange* exchange) {
    if (of(context).holdsBack) return of(context).heldBack.push_back(exchange);
    UrlRequest passed{.method = std::string(viewOf(request->method)),
                      .url = std::string(viewOf(request->url)),
                      .headers = {},
                      .timeoutSeconds = request->timeout_seconds};
    for (std::size_t i = 0; i < request->header_count; ++i) {
      passed.headers.emplace(viewOf(request->headers[i].name), viewOf(request->headers[i].value));
    }
    of(context).fake.session->start(std::move(passed), [exchange](const UrlResponse& response) {
      corvo_response result{};
      result.size = sizeof(corvo_response);
      result.status = response.status.value_or(0);
      result.body = textOf(response.body);
      if (response.failure) result.failure = textOf(*response.failure);
      corvo_exchange_complete(exchange, &result);
    });
  }

  static bool read(void* context, corvo_text suite, corvo_text key, corvo_bytes* value) {
    const auto& stored = of(context).stored;
    const auto found = stored.find(placeOf(suite, key));
    if (found != stored.end()) corvo_bytes_set(value, textOf(found->second));
    return of(context).reads;
  }

  static bool apply(void* context, corvo_text suite, const corvo_change* changes,
                    std::size_t count) {
    if (!of(context).writes) return false;
    for (std::size_t i = 0; i < count; ++i) {
      const std::string place = placeOf(suite, changes[i].key);
      of(context).stored.erase(place);
      if (changes[i].value.data != nullptr) {
        of(context).stored.emplace(place, viewOf(changes[i].value));
      }
    }
    return true;
  }

  corvo_platform functions() {
    corvo_platform platform{};
    platform.size = sizeof(corvo_platform);
    platform.context = this;
    platform.destroy = [](void* context) { ++of(context).destroyed; };
    platform.now = [](void* context) { return of(context).fake.time->now(); };
    platform.offset_at = [](void*, std::int64_t) -> std::int32_t { return 7200; };
    platform.zone_identifier = [](void*) -> std::uint64_t { return 1; };
    platform.post = [](void* context, corvo_task* task) {
      of(context).fake.time->post([task] { corvo_task_run(task); });
    };
    platform.run_until = [](void* context, bool (*holds)(const void*), const void* condition) {
      return of(context).fake.time->runUntil([&] { return holds(condition); });
    };
    platform.start = &start;
    platform.open_suite = [](void* context, corvo_text) { return of(context).opens; };
    platform.read = &read;
    platform.apply = &apply;
    platform.fact = [](void*, corvo_fact fact, corvo_bytes* text) {
      if (fact == CORVO_SYSTEM_NAME) corvo_bytes_set(text, CORVO_TEXT("iOS"));
    };
    platform.fill = [](void* context, void* bytes, std::size_t count) {
      std::memset(bytes, 7, count);
      return of(context).isRandom;
    };
    return platform;
  }
};

}  // namespace corvo::corvo_internal::c
