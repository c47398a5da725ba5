#pragma once

#include <mutex>

#include "client/client_impl.h"
