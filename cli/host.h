// What this program needs of the host it runs on: its own folder, the machine, the terminal.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/machine.h"

namespace orv::cli {

// The program's name and arguments as UTF-8.
std::vector<std::string> ProgramArguments(int argc, char** argv);

std::filesystem::path ProgramFolder();

// The machine that the component will use too. Throws Failure with the reason (file:line) when the
// folder is refused. An empty folder means the machine this program runs on, which without a COM
// runtime is the one that was given by the environment, else the sample machine beside the program;
// `folder` then comes out as the one that was taken.
std::unique_ptr<Machine> OpenMachine(std::filesystem::path& folder);

// Folder of the sample machines that came with the program; throws Failure when it is not there.
std::filesystem::path SampleMachinesFolder();

// Makes the component's own machine that of `folder`, and its diagnostic lines visible. Before the
// component is loaded. Throws Failure when the component works on no other machine than this one.
void PrepareComponent(const std::filesystem::path& folder, bool diagnostics);

bool OutputIsTerminal();

}  // namespace orv::cli
