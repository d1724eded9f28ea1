#include "cli/program_host.h"

#include <cstdlib>

#include "cli/native/shell.h"
#include "cli/orvctl_program.h"

namespace orv::cli {

int RunOrvctl(const Arguments& arguments, const StreamFiles& streams) {
  const std::string input = streams.input.empty() ? "/dev/null" : streams.input.string();
  const std::string line = OrvctlCommandLine(arguments) + " <" + Quoted(input) + " >" +
                           Quoted(streams.output.string()) + " 2>" +
                           Quoted(streams.errors.string());
  const int status = std::system(line.c_str());
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// The component goes where orvctl goes: to a simulated machine.
ComponentMachine::ComponentMachine(const std::filesystem::path& folder)
    : options_({"--machine", folder.string()}) {
  CopySampleMachine("skylake-laptop", folder);
}

ComponentMachine::~ComponentMachine() = default;

}  // namespace orv::cli
