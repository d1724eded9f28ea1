// What the exports and the registration use of the system they run on.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/machine.h"

namespace orv {

// The machine the component works on unless another one was set. Returns null if there is none; one
// diagnostic line reports why.
std::shared_ptr<Machine> OpenDefaultMachine();

// Runs a step with the calling thread in the system's default locale; afterwards it is in its own
// again, also if the step fails.
HRESULT InSystemLocale(const std::function<HRESULT()>& step);

// The registration scripts, made from registration/ and embedded when the component is built.
inline constexpr unsigned kModuleScript = 101;
std::optional<std::string_view> RegistrationScript(unsigned number);

// Registers the component's type library for the machine, or for the current user only.
HRESULT RegisterTypeLibrary(Machine& machine, const std::wstring& module_path, bool per_user);
// S_OK also if it was not registered. Other versions of the library stay.
HRESULT UnregisterTypeLibrary(Machine& machine, bool per_user);

}  // namespace orv
