// The component of this process: its one module and its classes.
#pragma once

#include <span>

#include "frame/module.h"

namespace orv {

// Every registered class, in registration order.
std::span<const ClassRow> ClassTable();

// Made at the first use.
Module& ComponentModule();

}  // namespace orv
