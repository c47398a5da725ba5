// SPDX-License-Identifier: Apache-2.0

// Asks a shop's backend from a GLib main loop, as a GTK program would: glib URL

#include <corvo/corvo.h>
#include <corvo/loops/glib.h>

#include <iostream>
#include <string>

using namespace corvo;

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const auto client = Corvo::initializeClient({.projectToken = "shop-token", .apiURL = argv[1]});

  GMainLoop* const loop = g_main_loop_new(nullptr, FALSE);
  {
    const glib::LoopSource source(Corvo::loop());  // on the default main context
    client->checkFlag<std::string>(
        "welcome-text",
        [loop](const std::optional<std::string>& text) {
          std::cout << text.value_or("Hello!") << '\n';
          g_main_loop_quit(loop);
        },
        [loop](const CorvoError& error) {
          std::cerr << error.description() << '\n';
          g_main_loop_quit(loop);
        });
    g_main_loop_run(loop);
  }
  g_main_loop_unref(loop);
}
