// machine.json: what a simulated machine consists of.
#pragma once

#include <optional>
#include <string_view>

#include "platform/file_error.h"
#include "simulated/description/machine_description.h"

namespace orv {

// Returns nullopt, with the line and the reason in `error`, if the text is refused.
std::optional<MachineDescription> ParseMachineFile(std::string_view text, FileError& error);

std::optional<MachineDescription> ReadMachineFile(const std::filesystem::path& file,
                                                  FileError& error);

}  // namespace orv
