// The one thing that differs between systems: how the first object is made.
#pragma once

#include <string_view>

#include "orv_apo/orv_apo.h"

HRESULT CreateSystem(std::string_view apartment, IORVAPOSystem** system);
