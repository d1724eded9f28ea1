// What this program needs of the host it runs on: its own folder, the machine, the terminal.
#pragma once

#include <filesystem>
#include <memory>
#include <string>

#include "platform/machine.h"

namespace orv::cli {

std::filesystem::path ProgramFolder();

// The machine that the component will use too. Throws Failure with the reason (file:line) when the
// folder is refused. An empty folder means the one that was given by the environment, else the
// sample machine beside the program; `folder` comes out as the one that was taken.
std::unique_ptr<Machine> OpenMachine(std::filesystem::path& folder);

// Folder of the sample machines that came with the program; throws Failure when it is not there.
std::filesystem::path SampleMachinesFolder();

// Makes the component's own machine that of `folder`, and its diagnostic lines visible. Before the
// component is loaded.
void PrepareComponent(const std::filesystem::path& folder, bool diagnostics);

bool OutputIsTerminal();

}  // namespace orv::cli
