// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>
#include <corvo/export.h>
#include <corvo/fakes/fake_time_zone.h>
#include <corvo/fakes/fixed_device.h>
#include <corvo/fakes/memory_preferences_store.h>
#include <corvo/fakes/project_builder.h>
#include <corvo/fakes/scripted_random.h>
#include <corvo/fakes/scripted_session.h>
#include <corvo/fakes/virtual_time.h>
#include <corvo/platform/platform.h>
#include <corvo/user.h>

#include <memory>

namespace corvo::fakes {

/// All the fakes together. `ClientRegistry registry(fake.platform());` is one run of the
/// application; a second registry on the same fakes simulates a restart.
struct FakePlatform {
  /// The services. `time` is both the clock and the main queue.
  std::shared_ptr<VirtualTime> time = std::make_shared<VirtualTime>();
  std::shared_ptr<FakeTimeZone> timeZone = std::make_shared<FakeTimeZone>();
  std::shared_ptr<ScriptedSession> session = std::make_shared<ScriptedSession>(time);
  std::shared_ptr<MemoryPreferencesStore> store = std::make_shared<MemoryPreferencesStore>();
  std::shared_ptr<FixedDevice> device = std::make_shared<FixedDevice>();
  std::shared_ptr<ScriptedRandom> random = std::make_shared<ScriptedRandom>();

  /// The services as a platform.
  [[nodiscard]] Platform platform() const {
    return {time, timeZone, time, session, store, device, random};
  }

  /// From now on, the backend serves this project (or a document written by hand) and this
  /// location. The location's properties have the backend's names: `{{"city", "Berlin"}}` is
  /// "geo.city" in conditions; one that begins with "geo." is refused with
  /// `std::invalid_argument`. Clients keep their cached copies until these expire.
  CORVO_FAKES_EXPORT void serve(const ProjectBuilder& project, const PropertyMap& location = {});
  CORVO_FAKES_EXPORT void serve(NonNullText configuration, const PropertyMap& location = {});
  /// From now on, both routes fail, as without a network.
  CORVO_FAKES_EXPORT void goOffline();
};

}  // namespace corvo::fakes
