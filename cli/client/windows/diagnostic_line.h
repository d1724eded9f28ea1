// Telling this system's diagnostic lines from what other modules of the process send to the
// debugger output channel.
#pragma once

#include <string_view>

namespace orv::cli {

// "configuration_file.cpp(57) | ORVAPOConfigurationFile::Load | ...": what Diagnose writes.
bool IsDiagnosticLine(std::wstring_view line);

}  // namespace orv::cli
