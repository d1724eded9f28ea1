// What this program needs of the host it runs on: streams, arguments, its folder, the machine, the
// terminal, signals, locks.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "platform/machine.h"
#include "platform/synchronization.h"

namespace orv::cli {

// The standard streams as this program uses them: bytes pass unchanged, and a console shows UTF-8
// as text. Made before anything is read or written; restores at its end what was changed, also by
// OutputIsTerminal.
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

// The program's name and arguments as UTF-8. Throws std::system_error if they cannot be read.
std::vector<std::string> ProgramArguments(int argc, char** argv);

std::filesystem::path ProgramFolder();

// The sample machine that is used if none is named.
inline constexpr char kDefaultSample[] = "skylake-laptop";
// Folder of the sample machines that came with the program; throws Failure if it does not exist.
std::filesystem::path SampleMachinesFolder();

// The environment variable that names the component's machine, and its folder if the command line
// does not name one: the environment's, else the sample beside the program. Empty where the
// component works on the system itself.
inline constexpr char kMachineVariable[] = "ORV_MACHINE";
std::filesystem::path DefaultMachineFolder();

// The simulated machine of the folder; if the folder is empty, that of OpenSystemMachine. Throws
// Failure with the reason (file:line) if the folder is refused.
std::unique_ptr<Machine> OpenMachine(const std::filesystem::path& folder);
// The system's own machine, or without a COM runtime that of the default folder.
std::unique_ptr<Machine> OpenSystemMachine();

// True if standard output shows colours and other control sequences.
bool OutputIsTerminal();
// Columns of the terminal that standard output goes to; 80 if it is not a terminal.
int OutputColumns();
// Whether characters outside ASCII arrive as they are; else text has to do without them.
bool OutputShowsUtf8();

// While it lives, interrupt and termination requests set the event instead of ending the program.
// One at a time.
class StopOnSignal {
 public:
  explicit StopOnSignal(Event& stop);
  ~StopOnSignal();
  StopOnSignal(const StopOnSignal&) = delete;
  StopOnSignal& operator=(const StopOnSignal&) = delete;
};

// Held by one process of this program at a time for one registry key of the machine, from the first
// reading to the verification of a change. The system releases it when the process ends in any way.
class ChangeLock {
 public:
  static constexpr std::chrono::seconds kLimit{30};

  // Waits for other holders. Throws Failure if there is still one after the limit or if the lock
  // cannot be made. `machine` is the folder of a simulated machine, else it is not used. The key's
  // path may have any letter case.
  ChangeLock(const std::filesystem::path& machine, const std::string& registry_path,
             std::chrono::milliseconds limit = kLimit);

  // A name in letters and digits that each spelling of the key's path has.
  static std::string NameOf(const std::string& registry_path);

 private:
  // Null if another process holds the lock after the limit or, with `reason`, if it cannot be made.
  static std::shared_ptr<void> Acquire(const std::filesystem::path& machine,
                                       const std::string& name, std::chrono::milliseconds limit,
                                       std::string& reason);

  std::shared_ptr<void> held_;
};

}  // namespace orv::cli
