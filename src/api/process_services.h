// What the exports need of the system they run on.
#pragma once

#include <functional>
#include <memory>

#include "platform/machine.h"

namespace orv {

// The machine the component works on unless another one was set. Returns null if there is none; one
// diagnostic line reports why.
std::shared_ptr<Machine> OpenDefaultMachine();

// Runs a step with the calling thread in the system's default locale; afterwards it is in its own
// again, also if the step fails.
HRESULT InSystemLocale(const std::function<HRESULT()>& step);

}  // namespace orv
