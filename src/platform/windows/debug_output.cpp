#include "platform/debug_output.h"

#include <windows.h>

namespace orv {

bool DebugOutputWanted() noexcept { return true; }

void WriteDebugOutput(const wchar_t* line) noexcept { ::OutputDebugStringW(line); }

}  // namespace orv
