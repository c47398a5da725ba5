// SPDX-License-Identifier: Apache-2.0

#include <corvo/corvo.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>

// An application that uses a client in every way: `ordinary_use BACKEND USER`. Its exit status is
// the maximum number of threads, minus those it started with.

namespace {

std::ptrdiff_t threads() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

const std::ptrdiff_t first = threads();
std::ptrdiff_t most = 0;

void note() { most = std::max(most, threads() - first); }

void tick() {
  do {
    corvo::Corvo::loop()->tick();
    note();
  } while (corvo::Corvo::loop()->busy());
}

void ask(const std::function<void()>& question) {
  try {
    question();
  } catch (const corvo::CorvoError&) {
  }
  note();
}

void use(corvo::CorvoClient& client, const char* user) {
  client.editUserProperties([user](corvo::CorvoUser::Builder& builder) {
    builder.setUserId(user).setEmail("ann@home.example");
  });
  client.checkFlag<bool>("on", [](std::optional<bool>) { note(); });
  tick();
  ask([&] { client.checkFlag<bool>("missing").get(); });
  ask([&] { client.getUserFeatureFlagsDetails().get(); });
  ask([&] { client.getAllUserExperimentsText().get(); });
  ask([&] { client.includeForce("e", 7).get(); });
  ask([&] { client.includeForce("e").get(); });
  ask([&] { client.getUserExperimentsDetails().get(); });
  ask([&] { client.excludeForceAll().get(); });
  client.getHoldout("none", nullptr, [](const corvo::CorvoError&) { note(); });
  tick();
  client.clearUserProperties();
}

// The platform in use is kept, with its clients.
bool keepsPlatform(const std::string& tag) try {
  corvo::Corvo::usePlatform(corvo::hostPlatform({.inMemory = true}));
  return false;
} catch (const std::logic_error&) {
  return corvo::Corvo::getClient(tag) != nullptr;
}

}  // namespace

int main(int /*argc*/, char** argv) {
  // The same backend, one whose answers are not a valid configuration, and one that does not
  // answer.
  const std::string addresses[] = {argv[1], argv[1] + std::string("/broken"), "http://127.0.0.1:1"};
  for (const std::string& address : addresses) {
    const auto client = corvo::Corvo::initializeClient("t", std::nullopt, address, 10, 1, address);
    use(*client, argv[2]);
  }
  if (!keepsPlatform(addresses[0])) return 255;
  for (const std::string& address : addresses) corvo::Corvo::removeClient(address);
  return static_cast<int>(most);
}
