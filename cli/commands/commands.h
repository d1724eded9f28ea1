// The commands, each in the file of its name. A new one is one more file with an Add...Command
// function, declared here and called once by AddCommands in main.cpp.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

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
// What was wanted and what was found instead. Ends the command with kDiffering.
void ReportDifference(Context& context, const std::string& name, const std::string& wanted,
                      const std::string& found);

// A command whose help ends with the details (may be empty) and the example.
CLI::App* AddCommand(CLI::App& parent, const std::string& name, const std::string& description,
                     const std::string& example, const std::string& details = {});

// The words under which an endpoint, a mode and a control are asked for.
inline constexpr char kEndpointHelp[] =
    "Endpoint: its number in \"endpoints\", its identifier, or any part of its name";
inline constexpr char kModeHelp[] =
    "Mode: its name or any part of it that fits one mode only (default: the current mode)";
inline constexpr char kDspDefaultHelp[] = "Have the driver keep the values as its default";
inline constexpr char kControlHelp[] = "Control: its exact name";

// Tables that more than one command shows.
Table EndpointsTable(const std::vector<Endpoint>& endpoints);
Table ModesTable(const Endpoint& endpoint);

void AddEndpointsCommand(CLI::App& app, Context& context);
void AddConfigCommand(CLI::App& app, Context& context);
void AddPropertiesCommand(CLI::App& app, Context& context);
void AddModesCommand(CLI::App& app, Context& context);
void AddModeCommand(CLI::App& app, Context& context);
void AddEnableCommand(CLI::App& app, Context& context);
void AddRestoreCommand(CLI::App& app, Context& context);
void AddControlsCommand(CLI::App& app, Context& context);
void AddGetCommand(CLI::App& app, Context& context);
void AddSetCommand(CLI::App& app, Context& context);
void AddWatchCommand(CLI::App& app, Context& context);
void AddAnalyseCommand(CLI::App& app, Context& context);
void AddSaveCommand(CLI::App& app, Context& context);
void AddLoadCommand(CLI::App& app, Context& context);
void AddDoctorCommand(CLI::App& app, Context& context);
void AddRegistrationCommands(CLI::App& app, Context& context);  // register, unregister
void AddCheckCommand(CLI::App& app, Context& context);
void AddImageCommands(CLI::App& app, Context& context);       // image decode, image encode
void AddMachineCommands(CLI::App& app, Context& context);     // machine new
void AddDriversCommand(CLI::App& machine, Context& context);  // machine drivers
void AddFilterCommands(CLI::App& app, Context& context);      // filter butterworth, bands, bass
void AddDspCommands(CLI::App& app, Context& context);         // dsp intel, dsp qualcomm
void AddIntelDspCommands(CLI::App& dsp, Context& context);    // called by AddDspCommands
// dsp intel get, dsp intel set; `endpoint` is what the user named, known when a command runs.
void AddIntelPropertyCommands(CLI::App& intel, Context& context, const std::string& endpoint);
void AddDriftCommand(CLI::App& app, Context& context);       // drift
void AddCompletionCommand(CLI::App& app, Context& context);  // completion bash
void AddStoryCommand(CLI::App& app, Context& context);

}  // namespace orv::cli
