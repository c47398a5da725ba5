// SPDX-License-Identifier: Apache-2.0

#include "c/caller_platform.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "c/call.h"
#include "c/handle_table.h"
#include "c/objects.h"
#include "c/service_call.h"

namespace corvo::corvo_internal::c {
namespace {

/// Exchanges and tasks are used once: whoever frees the handle has the object.
auto& exchanges() {
  static auto& table = *new HandleTable<ExchangeObject, 9, true>();
  return table;
}
auto& tasks() {
  static auto& table = *new HandleTable<TaskObject, 10, true>();
  return table;
}

/// The caller's functions, and their context, which is destroyed when nothing uses it any more.
struct Functions : corvo_platform {
  explicit Functions(const corvo_platform& given)
      : corvo_platform(given), owned(given.context, [end = given.destroy](void* last) {
          if (end != nullptr) end(last);
        }) {}

  template <class Function, class... Args>
  auto call(Function function, Args... args) const {
    const ServiceCall inside;
    return function(context, args...);
  }

  std::shared_ptr<void> owned;
};
using Shared = std::shared_ptr<const Functions>;

using Bytes = std::optional<std::string>;
auto& places() {
  static auto& table = *new HandleTable<Bytes, 11, false>();
  return table;
}

/// A place for bytes, with a handle that is valid as long as this object.
class Place {
 public:
  Place() : handle_(static_cast<corvo_bytes*>(places().add(bytes_))) {}
  Place(const Place&) = delete;
  Place& operator=(const Place&) = delete;
  ~Place() {
    // Another thread, against the rules, may be using it at this moment.
    while (c::call([&] { freeHandle(places(), handle_); }) == CORVO_BUSY) std::this_thread::yield();
  }

  [[nodiscard]] corvo_bytes* handle() const { return handle_; }
  [[nodiscard]] Bytes take() { return std::move(*bytes_); }

 private:
  std::shared_ptr<Bytes> bytes_ = std::make_shared<Bytes>();
  corvo_bytes* handle_;
};

class CallerClock final : public Clock {
 public:
  explicit CallerClock(Shared functions) : functions_(std::move(functions)) {}

  [[nodiscard]] double now() const override { return functions_->call(functions_->now); }

 private:
  const Shared functions_;
};

class CallerTimeZone final : public TimeZone {
 public:
  explicit CallerTimeZone(Shared functions) : functions_(std::move(functions)) {}

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    return functions_->call(functions_->offset_at, moment);
  }
  [[nodiscard]] std::uint64_t identifier() const override {
    return functions_->call(functions_->zone_identifier);
  }

 private:
  const Shared functions_;
};

class CallerQueue final : public MainQueue {
 public:
  explicit CallerQueue(Shared functions) : functions_(std::move(functions)) {}

  void post(Callback<void()> task) override {
    auto object = std::make_shared<TaskObject>(TaskObject{std::move(task)});
    auto* const handle = static_cast<corvo_task*>(tasks().add(std::move(object)));
    functions_->call(functions_->post, handle);
  }

  bool runUntil(const std::function<bool()>& condition) override {
    if (functions_->run_until == nullptr) return condition();
    const auto holds = [](const void* asked) {
      return (*static_cast<const std::function<bool()>*>(asked))();
    };
    return functions_->run_until(functions_->context, holds, &condition);
  }

 private:
  const Shared functions_;
};

class CallerSession final : public UrlSession {
 public:
  explicit CallerSession(Shared functions) : functions_(std::move(functions)) {}

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override {
    std::vector<corvo_property> headers;
    for (const auto& [name, value] : request.headers) {
      headers.push_back({asText(name), asText(value)});
    }
    const corvo_request given{asText(request.method), asText(request.url), headers.data(),
                              headers.size(), request.timeoutSeconds};
    auto object = std::make_shared<ExchangeObject>(ExchangeObject{std::move(completion)});
    auto* const handle = static_cast<corvo_exchange*>(exchanges().add(std::move(object)));
    functions_->call(functions_->start, &given, handle);
  }

 private:
  const Shared functions_;
};

/// Counts the changes of a suite, so that applications need not.
struct Revisions {
  std::mutex mutex;
  std::atomic<std::uint64_t> latest = 0;
  std::map<std::string, std::uint64_t, std::less<>> ofKeys;
};

class CallerSuite final : public PreferencesSuite {
 public:
  CallerSuite(Shared functions, std::string name, std::shared_ptr<Revisions> revisions)
      : functions_(std::move(functions)),
        name_(std::move(name)),
        revisions_(std::move(revisions)) {}

  [[nodiscard]] std::optional<std::string> read(std::string_view key) const override {
    Place place;
    const std::lock_guard lock(revisions_->mutex);
    if (!functions_->call(functions_->read, asText(name_), asText(key), place.handle())) {
      throw std::runtime_error("the store cannot be read at the moment");
    }
    return place.take();
  }

  bool apply(std::span<const PreferencesChange> changes) override {
    try {
      return tryToApply(changes);
    } catch (const std::exception&) {  // memory ran out
      return false;
    }
  }

  [[nodiscard]] std::uint64_t revision() const override { return revisions_->latest; }

  [[nodiscard]] std::uint64_t revisionOf(std::string_view key) const override {
    const std::lock_guard lock(revisions_->mutex);
    const auto found = revisions_->ofKeys.find(key);
    return found == revisions_->ofKeys.end() ? 0 : found->second;
  }

 private:
  bool tryToApply(std::span<const PreferencesChange> changes) {
    std::vector<corvo_change> list;
    for (const auto& [key, value] : changes) {
      list.push_back({asText(key), value ? asText(*value) : corvo_text{}});
    }
    const std::lock_guard lock(revisions_->mutex);
    // Before the change, since nothing may fail after it.
    std::vector<std::uint64_t*> changed;
    for (const auto& [key, value] : changes) changed.push_back(&revisions_->ofKeys[key]);
    if (!functions_->call(functions_->apply, asText(name_), list.data(), list.size())) {
      return false;
    }
    const std::uint64_t revision = ++revisions_->latest;
    for (std::uint64_t* const each : changed) *each = revision;
    return true;
  }

  const Shared functions_;
  const std::string name_;
  const std::shared_ptr<Revisions> revisions_;
};

class CallerStore final : public PreferencesStore {
 public:
  explicit CallerStore(Shared functions) : functions_(std::move(functions)) {}

  [[nodiscard]] std::shared_ptr<PreferencesSuite> open(std::string_view suiteName) override {
    try {
      const auto opens = functions_->open_suite;
      if (opens != nullptr && !functions_->call(opens, asText(suiteName))) return nullptr;
      std::string name(suiteName);
      const std::lock_guard lock(mutex_);
      std::shared_ptr<Revisions>& revisions = suites_[name];
      if (!revisions) revisions = std::make_shared<Revisions>();
      return std::make_shared<CallerSuite>(functions_, std::move(name), revisions);
    } catch (const std::exception&) {  // memory ran out
      return nullptr;
    }
  }

 private:
  const Shared functions_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Revisions>> suites_;
};

class CallerDevice final : public Device {
 public:
  explicit CallerDevice(Shared functions) : functions_(std::move(functions)) {}

  [[nodiscard]] std::optional<std::string> vendorIdentifier() const override {
    return fact(CORVO_VENDOR_IDENTIFIER);
  }
  [[nodiscard]] std::optional<std::string> systemName() const override {
    return fact(CORVO_SYSTEM_NAME);
  }
  [[nodiscard]] std::optional<std::string> systemVersion() const override {
    return fact(CORVO_SYSTEM_VERSION);
  }
  [[nodiscard]] std::optional<std::string> applicationVersion() const override {
    return fact(CORVO_APPLICATION_VERSION);
  }

 private:
  [[nodiscard]] std::optional<std::string> fact(corvo_fact which) const {
    Place place;
    functions_->call(functions_->fact, which, place.handle());
    return place.take();
  }

  const Shared functions_;
};

class CallerRandom final : public SecureRandom {
 public:
  explicit CallerRandom(Shared functions) : functions_(std::move(functions)) {}

  void fill(std::span<std::byte> bytes) override {
    if (!functions_->call(functions_->fill, bytes.data(), bytes.size())) {
      throw std::runtime_error("the random source gave no bytes");
    }
  }

 private:
  const Shared functions_;
};

/// Whether a service is the caller's. Throws `Misuse` if functions that it needs are missing.
bool isGiven(std::initializer_list<bool> needed, bool optional = false) {
  const bool all = std::ranges::all_of(needed, std::identity());
  const bool any = optional || std::ranges::any_of(needed, std::identity());
  if (any && !all) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "a service of the platform lacks a function");
  }
  return all;
}

}  // namespace

Platform callerPlatform(const corvo_platform* given) {
  if (given == nullptr) return {};
  Functions functions(sizedAt(given));
  const auto own = std::make_shared<const Functions>(std::move(functions));
  const corvo_platform& has = *own;
  Platform platform;
  if (has.now != nullptr) platform.clock = std::make_shared<CallerClock>(own);
  if (isGiven({has.offset_at != nullptr, has.zone_identifier != nullptr})) {
    platform.timeZone = std::make_shared<CallerTimeZone>(own);
  }
  if (isGiven({has.post != nullptr}, has.run_until != nullptr)) {
    platform.mainQueue = std::make_shared<CallerQueue>(own);
  }
  if (has.start != nullptr) platform.urlSession = std::make_shared<CallerSession>(own);
  if (isGiven({has.read != nullptr, has.apply != nullptr}, has.open_suite != nullptr)) {
    platform.preferencesStore = std::make_shared<CallerStore>(own);
  }
  if (has.fact != nullptr) platform.device = std::make_shared<CallerDevice>(own);
  if (has.fill != nullptr) platform.secureRandom = std::make_shared<CallerRandom>(own);
  return platform;
}

}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_bytes_set(corvo_bytes* bytes, corvo_text value) {
  return call([&] { useAlone(places(), bytes, [&](Bytes& place) { place = viewOf(value); }); });
}

corvo_status corvo_exchange_complete(corvo_exchange* exchange, const corvo_response* response) {
  return call([&] {
    const corvo_response& given = sizedAt(response);
    const std::string_view body = viewOf(given.body);
    const auto failure = optionalViewOf(given.failure);
    // From here on, the request ends, even if memory runs out.
    const auto last = takeFrom(exchanges(), exchange);
    UrlResponse passed{.status = std::nullopt, .body = std::string(body), .failure = std::nullopt};
    if (given.status != 0) passed.status = given.status;
    passed.failure = failure;
    last->completion(std::move(passed));
  });
}

corvo_status corvo_exchange_drop(corvo_exchange* exchange) {
  return call([&] { freeHandle(exchanges(), exchange); });
}

corvo_status corvo_task_run(corvo_task* task) {
  return call([&] {
    ServiceCall::refuse();
    takeFrom(tasks(), task)->task();
  });
}

corvo_status corvo_task_drop(corvo_task* task) {
  return call([&] { freeHandle(tasks(), task); });
}
