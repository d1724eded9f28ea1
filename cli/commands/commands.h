// The commands, one file per group. A new group is one more file with an Add...Commands function,
// declared here and called once by AddCommands in main.cpp.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

#include "cli/client/catalog.h"
#include "cli/client/change_lock.h"
#include "cli/client/session.h"
#include "cli/show/failure.h"
#include "cli/show/output.h"

namespace orv::cli {

// What the commands of one run share. The machine and the component are opened when a command first
// asks for them, so that offline commands work without either.
class Context {
 public:
  explicit Context(Output& output_stream) : output(output_stream) {}

  Output& output;
  SessionOptions session_options;
  std::optional<int> config_type;  // load endpoints with this configuration type
  ExitStatus exit_status = kDone;

  Session& session();
  Catalog& catalog();

  // All of them, each loaded with the configuration type that was asked for.
  std::vector<Endpoint> Endpoints();
  // By identifier, number or part of its name.
  Endpoint SelectEndpoint(const std::string& text);
  // By name or part of it; empty text means the current mode.
  Mode SelectMode(const Endpoint& endpoint, const std::string& text);
  Mode CurrentMode(const Endpoint& endpoint);
  // For a command that changes the endpoint: taken before it reads anything that it will write or
  // decide by, and held until it has verified the change.
  ChangeLock LockForChange(const Endpoint& endpoint) {
    return ChangeLock(session().machine_folder(), endpoint.RegistryPath());
  }

 private:
  std::vector<Endpoint> FindEndpoints();
  Endpoint WithConfig(Endpoint endpoint) const;
  static std::size_t PositionOf(const std::vector<Endpoint>& endpoints, const std::string& text);

  // The catalog stands on the session, so it goes first.
  std::unique_ptr<Session> session_;
  std::unique_ptr<Catalog> catalog_;
};

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

void AddEndpointCommands(CLI::App& app, Context& context);      // endpoints, config, properties
void AddModeCommands(CLI::App& app, Context& context);          // modes, mode, enable, restore
void AddControlCommands(CLI::App& app, Context& context);       // controls, get, set
void AddWatchCommand(CLI::App& app, Context& context);          // watch
void AddAnalyseCommand(CLI::App& app, Context& context);        // analyse
void AddPresetCommands(CLI::App& app, Context& context);        // save, load
void AddDoctorCommand(CLI::App& app, Context& context);         // doctor
void AddRegistrationCommands(CLI::App& app, Context& context);  // register, unregister
void AddCheckCommand(CLI::App& app, Context& context);          // check
void AddImageCommands(CLI::App& app, Context& context);         // image decode, image encode
void AddMachineCommands(CLI::App& app, Context& context);       // machine new
void AddDriversCommand(CLI::App& machine, Context& context);    // machine drivers
void AddFilterCommands(CLI::App& app, Context& context);        // filter butterworth, bands, bass
void AddDspCommands(CLI::App& app, Context& context);           // dsp intel, dsp qualcomm
void AddIntelDspCommands(CLI::App& dsp, Context& context);      // called by AddDspCommands
// dsp intel get, dsp intel set; `endpoint` is what the user named, known when a command runs.
void AddIntelPropertyCommands(CLI::App& intel, Context& context, const std::string& endpoint);
void AddDriftCommand(CLI::App& app, Context& context);       // drift
void AddCompletionCommand(CLI::App& app, Context& context);  // completion bash
void AddStoryCommand(CLI::App& app, Context& context);       // story

}  // namespace orv::cli
