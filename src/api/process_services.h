// What the exports need of the system they run on.
#pragma once

#include <functional>
#include <memory>

#include "platform/machine.h"

namespace orv {

// The machine the component works on when nobody has put another one in place. Null when there is
// none; one diagnostic line says why.
std::shared_ptr<Machine> OpenDefaultMachine();

// Runs a step with the calling thread in the system's default locale; afterwards it is in its own
// again, whatever came of the step.
HRESULT InSystemLocale(const std::function<HRESULT()>& step);

}  // namespace orv
