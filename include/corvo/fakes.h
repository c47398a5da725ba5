// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/fakes/experiment_builder.h>
#include <corvo/fakes/fake_platform.h>
#include <corvo/fakes/fake_time_zone.h>
#include <corvo/fakes/fixed_device.h>
#include <corvo/fakes/flag_builder.h>
#include <corvo/fakes/memory_preferences_store.h>
#include <corvo/fakes/project_builder.h>
#include <corvo/fakes/ready_client.h>
#include <corvo/fakes/rules.h>
#include <corvo/fakes/scripted_random.h>
#include <corvo/fakes/scripted_session.h>
#include <corvo/fakes/virtual_time.h>

/// A platform that a test controls: for this library's tests and for those of applications. Nothing
/// in it waits, reads the real clock or leaves the process. Link `corvo::fakes`.
namespace corvo::fakes {}
