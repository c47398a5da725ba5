// SPDX-License-Identifier: Apache-2.0

#include "c/caller_work.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "c/call.h"
#include "c/handle_table.h"
#include "c/objects.h"
#include "c/service_call.h"

namespace corvo::corvo_internal::c {
namespace {

struct Exchange {
  Callback<void(UrlResponse)> completion;
};
struct Task {
  Callback<void()> run;
};

// Exchanges and tasks are used once: whoever frees the handle has the object.
auto& exchanges() { return tableOf<Exchange, Mark::exchange, true>(); }
auto& tasks() { return tableOf<Task, Mark::task, true>(); }

class CallerQueue final : public CallerService<MainQueue> {
 public:
  using CallerService::CallerService;

  void post(Callback<void()> task) override {
    auto object = std::make_shared<Task>(Task{std::move(task)});
    auto* const handle = handleIn<corvo_task>(tasks(), std::move(object));
    functions_->call(functions_->post, handle);
  }

  bool runUntil(const std::function<bool()>& condition) override {
    if (functions_->run_until == nullptr) return condition();
    const auto holds = [](const void* asked) {
      return (*static_cast<const std::function<bool()>*>(asked))();
    };
    return functions_->run_until(functions_->context, holds, &condition);
  }
};

class CallerSession final : public CallerService<UrlSession> {
 public:
  using CallerService::CallerService;

  void start(UrlRequest request, Callback<void(UrlResponse)> completion) override {
    std::vector<corvo_property> headers;
    for (const auto& [name, value] : request.headers) {
      headers.push_back({asText(name), asText(value)});
    }
    const corvo_request given{asText(request.method), asText(request.url), headers.data(),
                              headers.size(), request.timeoutSeconds};
    auto object = std::make_shared<Exchange>(Exchange{std::move(completion)});
    auto* const handle = handleIn<corvo_exchange>(exchanges(), std::move(object));
    functions_->call(functions_->start, &given, handle);
  }
};

}  // namespace

std::shared_ptr<MainQueue> callerQueue(std::shared_ptr<const CallerFunctions> functions) {
  return std::make_shared<CallerQueue>(std::move(functions));
}

std::shared_ptr<UrlSession> callerSession(std::shared_ptr<const CallerFunctions> functions) {
  return std::make_shared<CallerSession>(std::move(functions));
}

}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

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
    takeFrom(tasks(), task)->run();
  });
}

corvo_status corvo_task_drop(corvo_task* task) {
  return call([&] { freeHandle(tasks(), task); });
}
