// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>

#include "client/client_impl.h"
