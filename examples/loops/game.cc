// SPDX-License-Identifier: Apache-2.0

// Asks a shop's backend from a game's loop, which ticks once a frame: game URL

#include <corvo/corvo.h>

#include <chrono>
#include <iostream>
#include <optional>
#include <string>
#include <thread>

using namespace corvo;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const auto client = Corvo::initializeClient({.projectToken = "shop-token", .apiURL = argv[1]});

  std::string sign;  // the game draws the latest text
  client->checkFlag<std::string>(
      "welcome-text",
      [&](const std::optional<std::string>& text) { sign = text.value_or("Hello!"); },
      [&](const CorvoError& error) { sign = error.description(); });

  for (int frame = 0; frame < 600 && sign.empty(); ++frame) {    // ten seconds at most
    if (Corvo::loop()->busy()) Corvo::loop()->tick();            // never waits
    std::this_thread::sleep_for(std::chrono::milliseconds(16));  // the game's own work
  }
  std::cout << (sign.empty() ? "still loading" : sign) << '\n';
}
