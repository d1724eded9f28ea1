// The module that this code was linked into.
#pragma once

#include "orv_apo/com.h"

namespace orv {

// No reference is taken. Null when the module is none that the loader knows.
HMODULE OwnModule() noexcept;

}  // namespace orv
