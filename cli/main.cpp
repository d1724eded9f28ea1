// orvctl: the command line for users and scripts. An ordinary client of the component.
#include <algorithm>
#include <cstdlib>
#include <iostream>

#include "cli/client/host.h"
#include "cli/client/user_machines.h"
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/commands/pages.h"
#include "cli/commands/run.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "panel/server/serve_command.h"
#include "platform/com_runtime.h"
#include "platform/files.h"

namespace orv::cli {
namespace {

constexpr char kHelpOption[] = "-h,--help";
constexpr char kVersionOption[] = "-V,--version";
constexpr char kUngrouped[] = "Subcommands";  // of a command that has just been added
constexpr char kProgramDetails[] =
    "ENDPOINT is an endpoint's number in \"endpoints\", its identifier, or any part of its name "
    "that no other has. MODE is a mode's name or any part of it that no other has; without one, "
    "the current mode is meant. Letter case does not matter for parts.\n\n"
    "Exit status: 0 done; 1 refused by the component, a driver or the system; 2 the command line "
    "is wrong; 3 done, but what was read back, compared or checked differs, or the output "
    "cannot be written.";

// In the order of the help page, in groups. A group's title is on its first line.
struct CommandEntry {
  const char* group;
  CommandAdder* add;
};
constexpr CommandEntry kCommands[] = {{"What is there", AddEndpointsCommand},
                                      {"", AddModesCommand},
                                      {"", AddPropertiesCommand},
                                      {"", AddConfigCommand},
                                      {"", AddDoctorCommand},
                                      {"Values", AddControlsCommand},
                                      {"", AddGetCommand},
                                      {"", AddSetCommand},
                                      {"", AddModeCommand},
                                      {"", AddEnableCommand},
                                      {"", AddRestoreCommand},
                                      {"", AddUndoCommand},
                                      {"", AddDiffCommand},
                                      {"", AddSaveCommand},
                                      {"", AddLoadCommand},
                                      {"", AddEqCommands},
                                      {"DSP", AddDspCommands},
                                      {"", AddDriftCommand},
                                      {"", AddResponseCommand},
                                      {"Live", AddWatchCommand},
                                      {"", AddAnalyseCommand},
                                      {"", panel::AddServeCommand},
                                      {"Offline", AddCheckCommand},
                                      {"", AddImageCommands},
                                      {"", AddFilterCommands},
                                      {"Machines", AddMachineCommands},
                                      {"", AddRegistrationCommands},
                                      {"Tool", AddTourCommand},
                                      {"", AddCompletionCommand},
                                      {"", AddHelpCommands}};

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
         [&session](const std::string& text) { session.machine = NamedMachineFolder(text); },
         "A simulated machine's folder, or a sample's name for your copy of it (also: "
         "ORV_MACHINE; default: your copy of skylake-laptop)")
      ->type_name("DIR");
  app.add_option(
         "--technology", session.technology,
         "The technology library's folder, as the machine names it (default: the one that the "
         "endpoint's settings name)")
      ->type_name("DIR");
  app.add_option("--config", context.config_type,
                 "Load endpoints with the modes that the processing object uses (0) or with those "
                 "for the DSP (1)")
      ->check(OneOf({"0", "1"}));
  app.add_flag_callback(
      "--json", [&context] { context.output.UseJson(true); },
      "One JSON value on standard output instead of text; watch and analyse print one a line");
  const CLI::Option* verbose = app.add_flag("-v,--verbose")
                                   ->description(
                                       "Each value that is written, with its place, and the "
                                       "component's diagnostic lines on standard error; -vv also "
                                       "those of opening the endpoints");
  app.add_flag_callback(
      kHelpOption, [] {}, "Explain the command, or the whole program");
  app.add_flag_callback(
      kVersionOption, [] {}, "Print the program's version");
  // The last one counts, so that scripts can add an option to a line that has it already.
  for (CLI::Option* option : app.get_options())
    option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.parse_complete_callback([&context, &session, verbose] {
    if (verbose->count() > 0)
      session.diagnostics = verbose->count() > 1 ? Diagnostics::Everything : Diagnostics::Command;
    UseGlobalOptions(GlobalOptionWords(context));
    const char* no_colour = std::getenv("NO_COLOR");
    context.output.UseColour(!context.output.json() && (no_colour == nullptr || *no_colour == 0) &&
                             OutputIsTerminal());
    const auto columns = static_cast<std::size_t>(OutputColumns());
    context.output.UseColumns(OutputIsTerminal() ? columns : 0,
                              ErrorsAreOnTerminal() ? columns : 0);
  });
}

// A mistake in the command line, with the page that explains the command.
std::string UsageText(const std::string& message, const CommandReading& reading) {
  const std::string path = PathOf(*reading.command);
  const bool is_general = path.empty() || path == "help";
  return message + "\nHelp: orvctl help" + (is_general ? "" : " " + path);
}

// What is printed without a command being run; nullopt if the words are one to run.
std::optional<std::string> TextOf(const CLI::App& app, const Context& context,
                                  const CommandReading& reading, bool no_words) {
  if (no_words) return Overview(app, context.version);
  if (reading.Has("--help")) return HelpPage(*reading.command);
  if (reading.Has("--version")) return "orvctl " + context.version + "\n";
  return std::nullopt;
}

int RunProgram(CLI::App& app, Context& context, int argc, char** argv) {
  const auto fail = [&](const std::string& message, int exit_status) {
    context.output.Notice("orvctl: " + message);
    return exit_status;
  };
  const CommandReading reading = ReadCommandLine(app, {argv + 1, argv + argc});
  try {
    if (const auto text = TextOf(app, context, reading, argc < 2)) {
      context.output.Raw(*text);
      return kDone;
    }
    Run(app, reading);
    return context.exit_status;
  } catch (const Failure& failure) {
    const bool is_usage = failure.exit_status() == kUsage;
    return fail(is_usage ? UsageText(failure.what(), reading) : failure.what(),
                failure.exit_status());
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
  context.version = ORV_VERSION;
  app.set_help_flag();
  app.allow_windows_style_options(false);  // "/" begins a path
  app.require_subcommand(1);
  app.footer(std::string(kProgramDetails) + "\n\n" + kExampleTitle +
             "  orvctl endpoints\n  orvctl set 0 \"VQ3D-Process Enable\" on");
  AddGlobalOptions(app, context);
  std::string group;
  for (const CommandEntry& entry : kCommands) {
    if (*entry.group != 0) group = entry.group;
    entry.add(app, context);
    for (CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; }))
      if (command->get_group() == kUngrouped) command->group(group);
  }
  const int status = RunProgram(app, context, static_cast<int>(words.size()), words.data());
  if (!std::cout.flush()) {
    if (status == kRefused || status == kUsage) return status;
    std::cerr << "orvctl: the command is done, but its output cannot be written\n";
    return kDiffering;
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
