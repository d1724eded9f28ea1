// The debugger output channel of this process.
//
// Natively the environment variable ORV_DIAGNOSTICS names it, read once: "stderr" is standard
// error, anything else a file that lines are appended to, and without it lines go nowhere.
#pragma once

namespace orv {

// False when lines would go nowhere.
bool DebugOutputWanted() noexcept;

// Sends one terminated line as it is. Lines of several threads do not mix.
void WriteDebugOutput(const wchar_t* line) noexcept;

}  // namespace orv
