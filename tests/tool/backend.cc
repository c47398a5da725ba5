// SPDX-License-Identifier: Apache-2.0

#include "tests/tool/backend.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "tests/base/case_table.h"

namespace corvo::tool {
namespace {

std::string readLine(FILE* stream) {
  std::array<char, 256> line{};
  if (!std::fgets(line.data(), line.size(), stream)) throw std::runtime_error("no line");
  const std::string text = line.data();
  return text.substr(0, text.find('\n'));
}

/// As a shell reports it.
int exitStatus(int status) {
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

Ran run(const std::string& command, const std::string& folder) {
  const std::string said = testing::TempDir() + "corvo_said_" + std::to_string(getpid());
  const std::string all = "(cd " + folder + " && PATH=\"$(dirname " CORVO_COMMAND "):$PATH\" && " +
                          command + ") >" + said + " 2>" + said + "_wrongly";
  const int status = std::system(all.c_str());
  return {exitStatus(status), tests::contentsOf(said), tests::contentsOf(said + "_wrongly")};
}

Ran runCorvo(const std::string& arguments, const std::string& folder) {
  return run("corvo " + arguments, folder);
}

Backend::Backend(const std::string& arguments)
    : output_(popen(("echo $$; exec " CORVO_COMMAND " serve " + arguments).c_str(), "r")) {
  process_ = std::stoi(readLine(output_));
  const std::string ready = readLine(output_);
  const std::string promise = "Serving ";
  if (!ready.starts_with(promise)) throw std::runtime_error("not ready: " + ready);
  url_ = ready.substr(promise.size());
}

Backend::~Backend() {
  if (output_) stop(SIGKILL);
}

int Backend::port() const { return std::stoi(url_.substr(url_.rfind(':') + 1)); }

std::string Backend::nextLine() { return readLine(output_); }

void Backend::signal(int signal) const { kill(process_, signal); }

int Backend::stop(int signal) {
  this->signal(signal);
  const int status = pclose(output_);
  output_ = nullptr;
  return exitStatus(status);
}

}  // namespace corvo::tool
