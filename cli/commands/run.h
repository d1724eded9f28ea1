// How a command's words are run: by the program itself, and by another part of it without the
// standard streams.
#pragma once

#include <string>
#include <vector>

#include "cli/client/context.h"
#include "cli/commands/command_line.h"

namespace orv::cli {

// Runs what was read from the program's words. Throws Failure for a refusal and for words that are
// not understood.
void Run(CLI::App& app, const CommandReading& reading);

// Runs one command that shows or changes the machine, as the same words on a command line do
// ("mode", "0", "--default"). Global options are not among the words; they are in the context.
// Results and notices go to the context's output, and its exit status is set. Throws as Run does.
void RunWords(Context& context, const std::vector<std::string>& words);

}  // namespace orv::cli
