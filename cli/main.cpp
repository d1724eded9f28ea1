// orvctl: what people and scripts use in front of a machine. An ordinary client of the component.
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

void AddCommands(CLI::App& app, Context& context) {
  AddEndpointsCommand(app, context);
  AddConfigCommand(app, context);
  AddPropertiesCommand(app, context);
  AddModesCommand(app, context);
  AddModeCommand(app, context);
  AddEnableCommand(app, context);
  AddRestoreCommand(app, context);
  AddControlsCommand(app, context);
  AddGetCommand(app, context);
  AddSetCommand(app, context);
  AddWatchCommand(app, context);
  AddAnalyseCommand(app, context);
  AddSaveCommand(app, context);
  AddLoadCommand(app, context);
  AddDoctorCommand(app, context);
  AddRegistrationCommands(app, context);
  AddCheckCommand(app, context);
  AddImageCommands(app, context);
  AddMachineCommands(app, context);
  AddFilterCommands(app, context);
  AddDspCommands(app, context);
  AddDriftCommand(app, context);
  AddCompletionCommand(app, context);
  AddStoryCommand(app, context);
}

struct ProgramFlags {
  bool json = false;
};

// The global options that decide what a command works on.
std::string GlobalOptionWords(const Context& context) {
  const SessionOptions& session = context.session_options;
  std::string words;
  const auto add = [&](const std::string& option, const std::string& value) {
    words += (words.empty() ? "" : " ") + option + " " + ShellWord(value);
  };
  if (!session.machine.empty())
    add("--machine", PathText(std::filesystem::absolute(session.machine)));
  if (!session.technology.empty()) add("--technology", session.technology);
  if (context.config_type) add("--config", std::to_string(*context.config_type));
  return words;
}

void AddGlobalOptions(CLI::App& app, Context& context, ProgramFlags& flags) {
  SessionOptions& session = context.session_options;
  app.add_option_function<std::string>(
      "--machine",
      [&session](const std::string& folder) { session.machine = PathFromUtf8(folder); },
      "Folder of the simulated machine (also: ORV_MACHINE; default: the sample machine)");
  app.add_option("--technology", session.technology,
                 "Folder of the technology library, as the machine knows it");
  app.add_option("--config", context.config_type, "Load endpoints with this configuration type")
      ->check(CLI::Range(0, 1));
  app.add_flag("--json", flags.json, "One JSON value on standard output");
  app.add_flag("-v,--verbose", session.diagnostics,
               "The component's diagnostic lines on standard error");
  // A later one wins, so that scripts can add to a line that names one already.
  for (CLI::Option* option : app.get_options())
    option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  app.parse_complete_callback([&context, &flags] {
    UseGlobalOptions(GlobalOptionWords(context));
    const char* no_colour = std::getenv("NO_COLOR");
    context.output.UseJson(flags.json);
    context.output.UseColour(!flags.json && (no_colour == nullptr || *no_colour == 0) &&
                             OutputIsTerminal());
  });
}

bool TakesValue(const CLI::App& app, const std::string& word) {
  const CLI::Option* option = app.get_option_no_throw(word);
  return option != nullptr && option->get_items_expected_max() > 0;
}

// A misspelt command would be reported as a missing one; this names what was meant.
void CheckCommandWords(const CLI::App& root, int argc, char** argv) {
  const CLI::App* command = &root;
  std::size_t own_words = 0;  // what the command itself takes before a command of its own
  for (int i = 1; i < argc; ++i) {
    const auto known = command->get_subcommands([](const CLI::App*) { return true; });
    if (known.empty()) return;
    const std::string word = argv[i];
    if (word == "--help" || word == "-h") return;
    if (word.starts_with("-")) {
      if (TakesValue(root, word)) ++i;
      continue;
    }
    if (own_words != 0) {
      --own_words;
      continue;
    }
    std::vector<std::string> names;
    const CLI::App* next = nullptr;
    for (const CLI::App* candidate : known) {
      names.push_back(candidate->get_name());
      if (candidate->get_name() == word) next = candidate;
    }
    if (next == nullptr) {
      UsageFailure("no command \"" + word + "\"." + Suggestion(names, word) +
                   "\n\"orvctl --help\" lists them.");
    }
    command = next;
    own_words =
        command->get_options([](const CLI::Option* option) { return option->get_positional(); })
            .size();
  }
}

// An empty argument is a mistake, for example a variable of a script that was never set: no command
// may take it for one that was not given.
void RefuseEmptyArguments(int argc, char** argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    const bool lacks_value = word.starts_with("--") && word.find('=') == word.size() - 1;
    if (lacks_value) UsageFailure("the value of " + word.substr(0, word.size() - 1) + " is empty.");
    if (!word.empty()) continue;
    UsageFailure(i == 1 ? "the first argument is empty."
                        : "the argument after \"" + std::string(argv[i - 1]) + "\" is empty.");
  }
}

int Run(CLI::App& app, Context& context, int argc, char** argv) {
  try {
    RefuseEmptyArguments(argc, argv);
    CheckCommandWords(app, argc, argv);
    app.parse(argc, argv);
    return context.exit_status;
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    context.output.Notice(std::string("orvctl: ") + error.what() +
                          "\n\"orvctl COMMAND --help\" tells what is expected.");
    return kUsage;
  } catch (const Failure& failure) {
    context.output.Notice(std::string("orvctl: ") + failure.what());
    return failure.exit_status();
  } catch (const std::bad_alloc&) {
    context.output.Notice("orvctl: out of memory");
  } catch (const std::exception& fault) {
    context.output.Notice(std::string("orvctl: ") + fault.what());
  }
  return kRefused;
}

int Main(int argc, char** argv) {
  const ComRuntime runtime;
  std::vector<std::string> arguments = ProgramArguments(argc, argv);
  std::vector<char*> words;
  words.reserve(arguments.size());
  for (std::string& argument : arguments) words.push_back(argument.data());
  Output output(std::cout, std::cerr);
  Context context(output);
  CLI::App app("Looks at and changes the audio effects of a machine's endpoints.", "orvctl");
  app.require_subcommand(1);
  app.footer("Example:\n  orvctl endpoints\n  orvctl set 0 \"VQ3D-Process Enable\" Enabled");
  ProgramFlags flags;
  AddGlobalOptions(app, context, flags);
  AddCommands(app, context);
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
