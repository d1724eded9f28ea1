// What this program needs of the host it runs on: streams, arguments, its folder, the machine, the
// terminal, signals.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
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

// The folder of this user's machines; empty where the component works on the system itself, and for
// a user without a home folder.
std::filesystem::path UserMachinesFolder();

// The environment variable that names the component's machine, and its folder if the command line
// does not name one: the environment's, else the user's copy of the default sample (see
// user_machines.h). Empty where the component works on the system itself. Throws Failure if there
// is none.
inline constexpr char kMachineVariable[] = "ORV_MACHINE";
std::filesystem::path DefaultMachineFolder();

// The simulated machine of the folder; if the folder is empty, that of OpenSystemMachine. Throws
// Failure with the reason (file:line) if the folder is refused.
std::unique_ptr<Machine> OpenMachine(const std::filesystem::path& folder);
// The system's own machine, or without a COM runtime that of the default folder.
std::unique_ptr<Machine> OpenSystemMachine();

// True if standard output shows colours and other control sequences.
bool OutputIsTerminal();
// True if standard error is a terminal that can take back what it shows.
bool ErrorsAreOnTerminal();
// Columns of the terminal that standard output goes to; 80 if it is not a terminal.
int OutputColumns();
// Whether characters outside ASCII arrive as they are; else text has to do without them.
bool OutputShowsUtf8();

// Text in UTF-8 for standard error in one piece, from any thread.
void WriteToErrors(std::string_view text) noexcept;
// The system's number of the calling thread.
std::uint32_t CurrentThreadNumber() noexcept;

// While it lives, requests to end set the event instead of ending the program: an interrupt, a
// termination, the end of the terminal's connection, a reader that closed the pipe. The destructor
// ends the program by the signal that came, unless that is the command's ordinary end, after
// objects that were made later have put back what they took. One at a time.
class StopOnSignal {
 public:
  enum class Ordinary { None, Interrupt, InterruptOrTermination };

  explicit StopOnSignal(Event& stop, Ordinary ordinary = Ordinary::Interrupt);
  ~StopOnSignal();
  StopOnSignal(const StopOnSignal&) = delete;
  StopOnSignal& operator=(const StopOnSignal&) = delete;

 private:
  Ordinary ordinary_;
};

}  // namespace orv::cli
