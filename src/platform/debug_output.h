// The debugger output channel of this process.
//
// Natively the environment variable ORV_DIAGNOSTICS names it, read once: "stderr" is standard
// error, "program" the function OrvDebugOutput that the program exports, anything else a file that
// lines are appended to. Without the variable or the function lines are dropped.
#pragma once

namespace orv {

// False if no program would receive the lines.
bool DebugOutputWanted() noexcept;

// Sends one terminated line as it is. Lines of several threads do not mix.
void WriteDebugOutput(const wchar_t* line) noexcept;

}  // namespace orv
