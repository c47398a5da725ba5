// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/served_project.h"

#include <functional>
#include <utility>

#include "tool/failure.h"
#include "tool/source.h"

namespace corvo::tool {
namespace {

std::string versionOf(const std::optional<std::string>& text) {
  return text ? std::to_string(text->size()) + "-" + std::to_string(std::hash<std::string>()(*text))
              : "none";
}

Document documentOf(Document::Kind kind, const ServedFile& file,
                    const std::optional<std::string>& text) {
  if (!text) throw Failure("cannot-read", "cannot read " + file.path());
  return {kind, file.path(), *text};
}

}  // namespace

std::shared_ptr<const Snapshot> ServedProject::now() {
  const std::lock_guard lock(mutex_);
  std::optional<std::string> configuration = configuration_.read();
  std::optional<std::string> location = location_.read();
  if (last_ && last_->configuration == configuration && last_->location == location) return last_;
  const auto next = std::make_shared<Snapshot>();
  next->version = versionOf(configuration) + "-" + versionOf(location);
  if (configuration) {
    next->findings = lint(*configuration);
    auto decoded = Project::decode(*configuration, Project::Filter::client);
    if (decoded) next->project = std::move(decoded).value();
  }
  try {
    const Document checked = documentOf(Document::Kind::location, location_, location);
    next->place =
        sourceOf(documentOf(Document::Kind::configuration, configuration_, configuration), checked)
            .location;
  } catch (const Failure& failure) {
    next->refusal = failure.what();
  }
  next->configuration = std::move(configuration);
  next->location = std::move(location);
  return last_ = next;
}

}  // namespace corvo::tool
