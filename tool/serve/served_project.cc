// SPDX-License-Identifier: Apache-2.0

#include "tool/serve/served_project.h"

#include <utility>

#include "base/md5.h"
#include "tool/failure.h"
#include "tool/source.h"

namespace corvo::tool {

namespace base = corvo_internal::base;

namespace {

std::string digestOf(const std::optional<std::string>& text) {
  return text ? std::string(base::view(base::md5Hex(*text))) : "none";
}

Document documentOf(Document::Kind kind, const NamedText& from) {
  if (!from.text) throw Failure("cannot-read", "cannot read " + from.name);
  return {kind, from.name, *from.text};
}

}  // namespace

std::shared_ptr<const Snapshot> snapshotOf(NamedText configuration, NamedText location) {
  const auto next = std::make_shared<Snapshot>();
  next->version = digestOf(digestOf(configuration.text) + "-" + digestOf(location.text));
  if (configuration.text) {
    next->findings = lint(*configuration.text);
    auto decoded = Project::decode(*configuration.text, Project::Filter::client);
    if (decoded) next->project = std::move(decoded).value();
  }
  try {
    const Document checked = documentOf(Document::Kind::location, location);
    next->place =
        sourceOf(documentOf(Document::Kind::configuration, configuration), checked).location;
  } catch (const Failure& failure) {
    next->refusal = failure.what();
  }
  next->configuration = std::move(configuration.text);
  next->location = std::move(location.text);
  return next;
}

std::shared_ptr<const Snapshot> ServedProject::peek() {
  const std::lock_guard lock(mutex_);
  std::optional<std::string> configuration = configuration_.peek();
  std::optional<std::string> location = location_.peek();
  if (last_ && last_->configuration == configuration && last_->location == location) return last_;
  return last_ = snapshotOf({configuration_.path(), std::move(configuration)},
                            {location_.path(), std::move(location)});
}

std::shared_ptr<const Snapshot> ServedProject::now() {
  auto snapshot = peek();
  report(*snapshot);
  return snapshot;
}

void ServedProject::report(const Snapshot& snapshot) {
  configuration_.report(snapshot.configuration);
  location_.report(snapshot.location);
}

}  // namespace corvo::tool
