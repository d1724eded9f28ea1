#include "cli/commands/run.h"

#include <algorithm>

#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct NamedCommand {
  std::string_view name;
  CommandAdder* add;
};
// Those that neither read standard input by themselves nor wait for an interrupt.
constexpr NamedCommand kServedCommands[] = {{"endpoints", AddEndpointsCommand},
                                            {"modes", AddModesCommand},
                                            {"mode", AddModeCommand},
                                            {"enable", AddEnableCommand},
                                            {"controls", AddControlsCommand},
                                            {"set", AddSetCommand},
                                            {"restore", AddRestoreCommand},
                                            {"undo", AddUndoCommand},
                                            {"response", AddResponseCommand},
                                            {"eq", AddEqCommands},
                                            {"dsp", AddDspCommands},
                                            {"drift", AddDriftCommand},
                                            {"properties", AddPropertiesCommand},
                                            {"doctor", AddDoctorCommand}};

}  // namespace

void Run(CLI::App& app, const CommandReading& reading) {
  if (!reading.fault.empty()) UsageFailure(reading.fault);
  if (const std::string missing = FindMissing(reading); !missing.empty()) UsageFailure(missing);
  std::vector<std::string> words = OrderedWords(reading);
  std::ranges::reverse(words);  // the library takes the last one first
  try {
    app.parse(words);
  } catch (const CLI::ValidationError& error) {  // "NAME: " and the text of a check
    UsageFailure(error.what());
  } catch (const CLI::ParseError&) {
    UsageFailure("these words are not understood.");
  }
}

void RunWords(Context& context, const std::vector<std::string>& words) {
  context.exit_status = kDone;
  const std::string name = words.empty() ? "" : words.front();
  const auto* const command = std::ranges::find(kServedCommands, name, &NamedCommand::name);
  if (command == std::end(kServedCommands)) UsageFailure("no command \"{}\".", name);
  CLI::App app;
  app.set_help_flag();
  app.allow_windows_style_options(false);  // "/" begins a path
  app.require_subcommand(1);
  command->add(app, context);
  Run(app, ReadCommandLine(app, words));
}

}  // namespace orv::cli
