#include "cli/commands/commands.h"

namespace orv::cli {

void ReportDifference(Context& context, const std::string& name, const std::string& wanted,
                      const std::string& found) {
  context.output.Notice("\"" + name + "\" was set to " + wanted + ", but " + found +
                        " was read back. Another program may have changed it meanwhile, or the "
                        "endpoint's key may refuse changes.");
  context.exit_status = kDiffering;
}

CLI::App* AddCommand(CLI::App& parent, const std::string& name, const std::string& description,
                     const std::string& example, const std::string& details) {
  CLI::App* command = parent.add_subcommand(name, description);
  command->footer((details.empty() ? "" : details + "\n\n") + "Example:\n  " + example);
  command->fallthrough();
  return command;
}

}  // namespace orv::cli
