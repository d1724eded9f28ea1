// serve
#pragma once

#include "cli/commands/commands.h"

namespace orv::panel {

void AddServeCommand(CLI::App& app, cli::Context& context);

}  // namespace orv::panel
