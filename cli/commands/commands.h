// The commands, each in the file of its name. A new one is one more file with an Add...Command
// function, declared here and listed in main.cpp.
#pragma once

#include <CLI/CLI.hpp>
#include <chrono>
#include <concepts>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cli/client/context.h"

namespace orv::cli {

// Calls `change`, which writes, reads afresh and returns whether it found what it wrote, until it
// did: a program that does not take the lock may have written meanwhile. False after three times.
template <class Change>
bool ChangeAndVerify(Change&& change) {
  constexpr int kAttempts = 3;
  for (int attempt = 0; attempt < kAttempts; ++attempt)
    if (change()) return true;
  return false;
}
// Reports what was wanted and what was found instead. Sets the exit status to kDiffering.
void ReportDifference(Context& context, const std::string& name, const std::string& wanted,
                      const std::string& found);

inline constexpr char kEndpointHelp[] =
    "Its number in \"endpoints\", its identifier, or any part of its name";
inline constexpr char kModeHelp[] =
    "A mode's name, or any part of it that no other mode has (default: the current mode)";
// Of commands whose tables leave out what is seldom needed.
inline constexpr char kLongOption[] = "-l,--long";
inline constexpr char kDspDefaultHelp[] = "The driver keeps the values as its default";
// Of the commands that push into a DSP.
inline constexpr char kPushLongHelp[] = "Show every block with its fields";
inline constexpr char kPushJson[] =
    "{status, verdict, blocks, differences, remarks}; a difference is {block, control, sent, read, "
    "sent_text, read_text, error}";
inline constexpr char kControlHelp[] =
    "The control's name, a part that no other control's name has, or a pattern with * and ?";
inline constexpr char kRawHelp[] = "VALUE is the stored number, in the control's own steps";

// Accepts numbers from `least` to `most`, decimals too. `expected` completes "... is not"; `word`
// is the value's word in usage lines.
CLI::Validator NumberWithin(double least, double most, const std::string& expected,
                            const std::string& word = "NUMBER");
// The same for whole numbers of a 32-bit variable; without a word, it is the range.
CLI::Validator WholeNumberWithin(std::int32_t least, std::int32_t most,
                                 const std::string& word = {});
inline constexpr double kAboveZero = std::numeric_limits<float>::min();
// When a command ends that runs for so many seconds.
std::optional<std::chrono::steady_clock::time_point> EndAfter(std::optional<double> seconds);
// Accepts one of the names and suggests the nearest one otherwise; letter case matters.
CLI::Validator OneOf(const std::vector<std::string>& names);

// The arguments of a command that begins with ENDPOINT.
struct EndpointArguments {
  std::string endpoint;
};
// The same with the option --mode.
struct ModeArguments : EndpointArguments {
  std::string mode;
};

// A command with its help page.
struct CommandText {
  const char* name;
  const char* description;   // without a full stop
  const char* example;       // lines; the second one and later ones begin with two blanks
  const char* details = "";  // paragraphs, which the page wraps
  const char* json = "";     // what --json prints: "an array of {key, key}"
};
// How a page's texts follow one another where the library keeps them.
inline constexpr char kJsonTitle[] = "\n\nJSON: ";
inline constexpr char kExampleTitle[] = "Example:\n";
CLI::App& AddCommand(CLI::App& parent, const CommandText& text);
// A command that is followed by one of its own commands.
CLI::App& AddGroup(CLI::App& parent, const CommandText& text);

// A command that calls `run` with the arguments, which live as long as the command.
template <class Arguments>
CLI::App& AddCommand(CLI::App& parent, Context& context,
                     const std::shared_ptr<Arguments>& arguments,
                     void (*run)(Context&, const Arguments&), const CommandText& text) {
  CLI::App& command = AddCommand(parent, text);
  command.callback([&context, arguments, run] { run(context, *arguments); });
  return command;
}

// A command that calls `run` with arguments of its own, and has the options of their base.
template <class Arguments>
struct Command {
  CLI::App& command;
  Arguments& arguments;
};
template <class Arguments>
Command<Arguments> AddCommand(CLI::App& parent, Context& context,
                              void (*run)(Context&, const Arguments&), const CommandText& text) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command = AddCommand(parent, context, arguments, run, text);
  if constexpr (std::derived_from<Arguments, EndpointArguments>)
    command.add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  if constexpr (std::derived_from<Arguments, ModeArguments>)
    command.add_option("--mode", arguments->mode, kModeHelp);
  return {command, *arguments};
}

// Tables that more than one command shows.
Table EndpointsTable(const std::vector<Endpoint>& endpoints, bool with_identifiers);
Table ModesTable(const Endpoint& endpoint);

// Adds the commands of one file.
using CommandAdder = void(CLI::App& app, Context& context);

CommandAdder AddEndpointsCommand, AddConfigCommand, AddPropertiesCommand, AddModesCommand,
    AddModeCommand, AddEnableCommand, AddRestoreCommand, AddControlsCommand, AddGetCommand,
    AddSetCommand, AddWatchCommand, AddAnalyseCommand, AddSaveCommand, AddLoadCommand,
    AddUndoCommand, AddDiffCommand, AddDoctorCommand, AddRegistrationCommands, AddCheckCommand,
    AddImageCommands, AddMachineCommands, AddFilterCommands, AddDspCommands, AddDriftCommand,
    AddResponseCommand, AddEqCommands, AddCompletionCommand, AddHelpCommands, AddTourCommand;

void AddDriversCommand(CLI::App& machine, Context& context);  // machine drivers
void AddIntelDspCommands(CLI::App& dsp, Context& context);    // dsp intel

}  // namespace orv::cli
