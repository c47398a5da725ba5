// SPDX-License-Identifier: Apache-2.0

#include <cstdlib>
#include <functional>
#include <iostream>
#include <map>
#include <optional>
#include <string>

#include "bench/bench_client.h"
#include "bench/project.h"

// Asks one question repeatedly, for a tool that counts a program's instructions: see
// instructions.txt.

namespace corvo::bench {
namespace {

using Ask = std::function<void(CorvoClient&)>;

Ask flag(const char* name) {
  return [name](CorvoClient& client) {
    client.checkFlag<bool>(
        name, [](std::optional<bool>) {}, [](const CorvoError&) {});
  };
}

const std::map<std::string, Ask>& questions() {
  static const std::map<std::string, Ask> all{
      {"rule", flag(kRuleFlag)},
      {"date", flag(kDateFlag)},
      {"experiment", flag(kCarriedFlag)},
      {"layered", flag(kLayeredFlag)},
      {"unknown", flag(kUnknownFlag)},
      {"suspending",
       [](CorvoClient& client) { static_cast<void>(client.checkFlag<bool>(kRuleFlag).get()); }},
      {"handle",
       [](CorvoClient& client) {
         client.getExperiment(kExperiment, [](const CorvoExperimentPointer&) {});
       }},
      {"report",
       [](CorvoClient& client) { client.getUserFeatureFlagsDetails([](const FlagReport&) {}); }},
      {"text", [](CorvoClient& client) { client.getAllUserExperimentsText([](const auto&) {}); }},
      {"details",
       [](CorvoClient& client) { client.getUserExperimentsDetails([](const auto&) {}); }},
      {"user", [](CorvoClient& client) { client.setUser(user()); }}};
  return all;
}

}  // namespace
}  // namespace corvo::bench

// The function that the tool counts; the tool finds it by name.
extern "C" [[gnu::noinline]] void counted(const std::function<void(corvo::CorvoClient&)>& ask,
                                          corvo::CorvoClient& client, long times) {
  for (; times > 0; --times) ask(client);
}

int main(int argc, char** argv) {
  using namespace corvo::bench;
  const auto question = argc == 3 ? questions().find(argv[1]) : questions().end();
  if (question == questions().end()) {
    std::cerr << "Usage: corvo_instructions QUESTION TIMES\n";
    return 2;
  }
  corvo::CorvoClient& client = clientOf(1'000);
  question->second(client);
  counted(question->second, client, std::strtol(argv[2], nullptr, 10));
}
