// SPDX-License-Identifier: Apache-2.0

// Asks a shop's backend in coroutines of Asio, two questions at once: asio URL

#include <corvo/corvo.h>
#include <corvo/loops/asio.h>

#include <asio/co_spawn.hpp>
#include <asio/io_context.hpp>
#include <cstdint>
#include <exception>
#include <iostream>
#include <memory>
#include <string>

using corvo::Corvo;
using corvo::CorvoClient;

asio::awaitable<void> greet(CorvoClient& client) {
  const auto text = co_await corvo::asio::await(client.checkFlag<std::string>("welcome-text"));
  std::cout << text.value_or("Hello!") << '\n';
}

asio::awaitable<void> checkOut(CorvoClient& client) {
  const auto steps = co_await corvo::asio::await(client.checkFlag<std::int64_t>("checkout-steps"));
  std::cout << "The checkout has " << steps.value_or(3) << " steps.\n";
}

int main(int argc, char** argv) try {
  if (argc != 2) return 2;
  asio::io_context context;
  const auto client = Corvo::initializeClient({.projectToken = "shop-token", .apiURL = argv[1]});

  const corvo::asio::LoopDriver driver(Corvo::loop(), context);
  const auto rethrow = [](const std::exception_ptr& error) {
    if (error) std::rethrow_exception(error);
  };
  asio::co_spawn(context, greet(*client), rethrow);
  asio::co_spawn(context, checkOut(*client), rethrow);
  context.run();  // until both have their answers
} catch (const corvo::CorvoError& error) {
  std::cerr << error.description() << '\n';
  return 1;
}
