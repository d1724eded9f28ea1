#include "platform/com_runtime.h"

namespace orv {

// Threads of this build need no preparation.
ComRuntime::ComRuntime() noexcept : status_(S_OK) {}
ComRuntime::~ComRuntime() = default;

}  // namespace orv
