// SPDX-License-Identifier: Apache-2.0

// Asks a shop's backend through callbacks: callbacks URL DATA_FOLDER [USER]
// Without USER, it continues with the user of the last run in that folder.

#include <corvo/corvo.h>
#include <corvo/host.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

using namespace corvo;

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  const Host host = makeHost({.dataFolder = argv[2]});
  Corvo::usePlatform(host.platform);

  const auto client = Corvo::initializeClient({.projectToken = "shop-token", .apiURL = argv[1]});
  if (argc > 3) client->setUserProperties([&](auto& user) { user.setUserId(argv[3]); });

  const auto complain = [](const CorvoError& error) { std::cerr << error.description() << '\n'; };
  client->checkFlag<std::string>(
      "welcome-text",
      [&](const std::optional<std::string>& text) {
        std::cout << text.value_or("Hello!") << '\n';
        client->getExperiment(  // answered immediately from the copies just fetched
            "short-checkout",
            [](const CorvoExperimentPointer& checkout) {
              if (!checkout) return;  // this user is not in the experiment
              const auto steps = checkout->getFeatureValue<std::int64_t>("checkout-steps");
              std::cout << "In group " << checkout->userGroupName().value_or("none")
                        << " the checkout has " << steps.value_or(3) << " step(s).\n";
            },
            complain);
      },
      complain);

  host.loop->runUntil([] { return false; });  // until nothing is under way
}
