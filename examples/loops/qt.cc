// SPDX-License-Identifier: Apache-2.0

// Asks a shop's backend from Qt's event loop: qt URL

#include <corvo/corvo.h>
#include <corvo/loops/qt.h>

#include <iostream>
#include <string>

using namespace corvo;

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  if (argc != 2) return 2;
  const auto client = Corvo::initializeClient({.projectToken = "shop-token", .apiURL = argv[1]});

  const qt::LoopDriver driver(Corvo::loop());
  client->checkFlag<std::string>(
      "welcome-text",
      [](const std::optional<std::string>& text) {
        std::cout << text.value_or("Hello!") << '\n';
        QCoreApplication::quit();
      },
      [](const CorvoError& error) {
        std::cerr << error.description() << '\n';
        QCoreApplication::exit(1);
      });
  return QCoreApplication::exec();
}
