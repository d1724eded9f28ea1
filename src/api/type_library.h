// Registration of the component's type library.
#pragma once

#include <string>

#include "platform/machine.h"

namespace orv {

// For the machine, or for the current user only.
HRESULT RegisterTypeLibrary(Machine& machine, const std::wstring& module_path, bool per_user);
// S_OK also when it was not registered. Other versions of the library stay.
HRESULT UnregisterTypeLibrary(Machine& machine, bool per_user);

}  // namespace orv
