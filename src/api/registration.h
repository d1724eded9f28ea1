// The component's registration: its classes and its type library.
#pragma once

#include "frame/module.h"

namespace orv {

// Both stop at the first failure and return it; what was done so far stays.
HRESULT RegisterComponent(Module& module);
HRESULT UnregisterComponent(Module& module);

}  // namespace orv
