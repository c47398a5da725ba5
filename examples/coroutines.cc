// SPDX-License-Identifier: Apache-2.0

// Asks a shop's backend in a coroutine: coroutines URL DATA_FOLDER [USER]

#include <corvo/corvo.h>
#include <corvo/host.h>

#include <coroutine>
#include <cstdint>
#include <iostream>
#include <memory>

using namespace corvo;

struct Task {  // any coroutine type can await an answer; this is the smallest
  struct promise_type {
    Task get_return_object() { return {}; }
    std::suspend_never initial_suspend() noexcept { return {}; }
    std::suspend_never final_suspend() noexcept { return {}; }
    void return_void() {}
    void unhandled_exception() { std::terminate(); }
  };
};

Task visit(std::shared_ptr<CorvoClient> client) try {
  const auto sale = co_await client->checkFlag<JsonObject>("sale");
  const JsonValue off = sale && sale->contains("discount") ? sale->at("discount") : JsonValue();
  std::cout << "Today's discount: " << off.toJson() << '\n';
  const CorvoExperimentPointer page = co_await client->getExperiment("product-page");
  const auto columns = page ? page->getParamValue<std::int64_t>("columns") : std::nullopt;
  std::cout << "The product page has " << columns.value_or(1) << " column(s).\n";
} catch (const CorvoError& error) {
  std::cerr << error.description() << '\n';
}

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const Host host = makeHost({.dataFolder = argv[2]});
  Corvo::usePlatform(host.platform);
  const auto user = CorvoUser::Builder().setUserId(argc > 3 ? argv[3] : nullptr).build();
  visit(Corvo::initializeClient(
      {.projectToken = "shop-token", .apiURL = argv[1], .initialUser = user}));
  host.loop->runUntil([] { return false; });  // until nothing is under way
}
