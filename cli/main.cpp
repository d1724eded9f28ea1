// orvctl: the command line for users and scripts. An ordinary client of the component.
#include <cstdlib>
#include <iostream>

#include "cli/client/host.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "cli/show/select.h"
#include "platform/com_runtime.h"
#include "platform/files.h"

namespace orv::cli {
namespace {

// In the order of the help page.
constexpr CommandAdder* kCommands[] = {
    AddEndpointsCommand, AddConfigCommand,        AddPropertiesCommand, AddModesCommand,
    AddModeCommand,      AddEnableCommand,        AddRestoreCommand,    AddControlsCommand,
    AddGetCommand,       AddSetCommand,           AddWatchCommand,      AddAnalyseCommand,
    AddSaveCommand,      AddLoadCommand,          AddUndoCommand,       AddDiffCommand,
    AddDoctorCommand,    AddRegistrationCommands, AddCheckCommand,      AddImageCommands,
    AddMachineCommands,  AddFilterCommands,       AddDspCommands,       AddDriftCommand,
    AddResponseCommand,  AddEqCommands,           AddCompletionCommand, AddTourCommand};

// The global options that decide which machine and configuration a command uses.
std::string GlobalOptionWords(const Context& context) {
  const SessionOptions& session = context.session_options;
  std::vector<std::string> words;
  if (!session.machine.empty())
    words.push_back("--machine " + ShellWord(PathText(std::filesystem::absolute(session.machine))));
  if (!session.technology.empty()) words.push_back("--technology " + ShellWord(session.technology));
  if (context.config_type) words.push_back(fmt::format("--config {}", *context.config_type));
  return fmt::format("{}", fmt::join(words, " "));
}

void AddGlobalOptions(CLI::App& app, Context& context) {
  SessionOptions& session = context.session_options;
  app.add_option_function<std::string>(
      "--machine",
      [&session](const std::string& folder) { session.machine = PathFromUtf8(folder); },
      "Folder of the simulated machine (also: ORV_MACHINE; default: the sample machine)");
  app.add_option("--technology", session.technology,
                 "Folder of the technology library, as the machine knows it");
  app.add_option("--config", context.config_type, "Load endpoints with this configuration type")
      ->check(CLI::Range(0, 1));
  app.add_flag_callback(
      "--json", [&context] { context.output.UseJson(true); }, "One JSON value on standard output");
  app.add_flag("-v,--verbose", session.diagnostics,
               "The component's diagnostic lines on standard error");
  // The last one counts, so that scripts can add an option to a line that has it already.
  for (CLI::Option* option : app.get_options())
    option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.parse_complete_callback([&context] {
    UseGlobalOptions(GlobalOptionWords(context));
    const char* no_colour = std::getenv("NO_COLOR");
    context.output.UseColour(!context.output.json() && (no_colour == nullptr || *no_colour == 0) &&
                             OutputIsTerminal());
  });
}

// The message for a command line that the library refused. The library reports a misspelt command
// as a missing one.
std::string UsageText(const CLI::App& app, const CLI::ParseError& error) {
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
  std::vector<std::string> names;
  for (const CLI::App* known : command->get_subcommands([](const CLI::App*) { return true; }))
    names.push_back(known->get_name());
  for (const std::string& word : app.remaining(true)) {
    if (!names.empty() && !word.starts_with("-"))
      return fmt::format("no command \"{}\".{}\n\"orvctl --help\" lists them.", word,
                         Suggestion(names, word));
  }
  return fmt::format("{}\n\"orvctl COMMAND --help\" shows what is expected.", error.what());
}

// An empty argument is a mistake, for example a variable of a script that was never set, and not
// the same as an argument that was not given.
void RefuseEmptyArguments(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const bool lacks_value = word.starts_with("--") && word.find('=') == word.size() - 1;
    if (lacks_value) UsageFailure("the value of {} is empty.", word.substr(0, word.size() - 1));
    if (word.empty())
      UsageFailure(i == 1 ? "the first argument is empty."
                          : fmt::format("the argument after \"{}\" is empty.", argv[i - 1]));
  }
}

int Run(CLI::App& app, Context& context, int argc, char** argv) {
  const auto fail = [&](const std::string& message, int exit_status) {
    context.output.Notice("orvctl: " + message);
    return exit_status;
  };
  try {
    RefuseEmptyArguments(argc, argv);
    app.parse(argc, argv);
    return context.exit_status;
  } catch (const CLI::ParseError& error) {
    return error.get_exit_code() == 0 ? app.exit(error) : fail(UsageText(app, error), kUsage);
  } catch (const Failure& failure) {
    return fail(failure.what(), failure.exit_status());
  } catch (const std::bad_alloc&) {
    return fail("out of memory", kRefused);
  } catch (const std::exception& fault) {
    return fail(fault.what(), kRefused);
  }
}

int Main(int argc, char** argv) {
  const ComRuntime runtime;
  std::vector<std::string> arguments = ProgramArguments(argc, argv);
  std::vector<char*> words;
  words.reserve(arguments.size());
  for (std::string& argument : arguments) words.push_back(argument.data());
  Output output(std::cout, std::cerr);
  Context context(output);
  CLI::App app("Shows and changes the audio effects of a machine's endpoints.", "orvctl");
  app.require_subcommand(1);
  app.footer("Example:\n  orvctl endpoints\n  orvctl set 0 \"VQ3D-Process Enable\" Enabled");
  AddGlobalOptions(app, context);
  for (CommandAdder* add : kCommands) add(app, context);
  const int status = Run(app, context, static_cast<int>(words.size()), words.data());
  if (!std::cout.flush()) {
    std::cerr << "orvctl: standard output cannot be written\n";
    return kRefused;
  }
  return status;
}

}  // namespace
}  // namespace orv::cli

int main(int argc, char** argv) {
  const orv::cli::StandardStreams streams;
  try {
    return orv::cli::Main(argc, argv);
  } catch (const std::exception& fault) {
    std::cerr << "orvctl: " << fault.what() << "\n";
    return orv::cli::kRefused;
  }
}
