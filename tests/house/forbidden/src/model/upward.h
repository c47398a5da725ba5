#pragma once

#include "client/client_impl.h"
