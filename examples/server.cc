// SPDX-License-Identifier: Apache-2.0

// Answers questions about many users on four threads; one client keeps the project fresh: server
// URL

#include <corvo/corvo.h>
#include <corvo/evaluation.h>

#include <chrono>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using namespace corvo;

// The current project, replaced from time to time.
class Current {
 public:
  explicit Current(Project project) : project_(std::move(project)) {}
  Project get() {
    const std::lock_guard lock(mutex_);
    return project_;
  }
  void set(Project project) {
    const std::lock_guard lock(mutex_);
    project_ = std::move(project);
  }

 private:
  std::mutex mutex_;
  Project project_;
};

void answer(Current& current, int thread) {
  for (int request = 0; request < 3; ++request) {
    const std::string userId = "user-" + std::to_string(10 * thread + request);
    const EvaluationContext::Property user[] = {{"userId", userId}};
    Evaluation about = current.get().evaluate({.properties = user});
    const auto text = about.checkFlag<std::string>("welcome-text");
    std::cout << userId + ": " + (text ? text.value().value_or("") : text.error()->what()) + '\n';
  }
}

int main(int argc, char** argv) try {
  if (argc != 2) return 2;
  const auto client = Corvo::initializeClient(
      {.projectToken = "shop-token", .apiURL = argv[1], .cacheTTL = 10, .tag = "server"});
  Current current(client->getProject().get());
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int i = 0; i < 4; ++i) threads.emplace_back(answer, std::ref(current), i);
  for (int i = 0; i < 3; ++i) {  // a real server would run indefinitely
    client->getProject([&](Project project) { current.set(std::move(project)); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    Corvo::loop()->tick();
  }
  for (std::thread& each : threads) each.join();
} catch (const CorvoError& error) {
  std::cerr << error.description() << '\n';
  return 1;
}
