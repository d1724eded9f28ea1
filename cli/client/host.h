// What this program needs of the host it runs on: its own folder, the machine, the terminal.
#pragma once

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/machine.h"

namespace orv::cli {

// The standard streams as this program uses them: bytes pass as they are, and a console shows UTF-8
// as text. Made before anything is read or written; whatever was changed for it, also by
// OutputIsTerminal, is as before when it goes.
class StandardStreams {
 public:
  StandardStreams();
  ~StandardStreams();
  StandardStreams(const StandardStreams&) = delete;
  StandardStreams& operator=(const StandardStreams&) = delete;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// The program's name and arguments as UTF-8. Throws std::system_error when they cannot be had.
std::vector<std::string> ProgramArguments(int argc, char** argv);

std::filesystem::path ProgramFolder();

// The machine that the component will use too. Throws Failure with the reason (file:line) when the
// folder is refused. An empty folder means the machine this program runs on, which without a COM
// runtime is the one that was given by the environment, else the sample machine beside the program;
// `folder` then comes out as the one that was taken.
std::unique_ptr<Machine> OpenMachine(std::filesystem::path& folder);

// The sample machine that stands for every other where none is named.
inline constexpr char kDefaultSample[] = "skylake-laptop";
// Folder of the sample machines that came with the program; throws Failure when it is not there.
std::filesystem::path SampleMachinesFolder();

// Makes the component's own machine that of `folder`, and its diagnostic lines visible. Before the
// component is loaded. Throws Failure when the component works on no other machine than this one.
void PrepareComponent(const std::filesystem::path& folder, bool diagnostics);

// True when standard output shows colours and other control sequences.
bool OutputIsTerminal();

}  // namespace orv::cli
