// machine new; machine drivers is added from its own file
#include "cli/client/host.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/machine_folder.h"
#include "cli/show/failure.h"
#include "cli/show/select.h"
#include "platform/files.h"

namespace orv::cli {
namespace {

// A sample's name, or a machine's folder.
std::filesystem::path SourceFolder(const std::string& from) {
  std::error_code ignored;
  std::filesystem::path folder = PathFromUtf8(from);
  if (folder.has_parent_path()) return folder;
  std::filesystem::path sample = SampleMachinesFolder() / folder;
  if (std::filesystem::is_directory(sample, ignored)) return sample;
  if (std::filesystem::is_directory(folder, ignored)) return folder;
  const std::vector<std::string> names = MachineNames(SampleMachinesFolder());
  UsageFailure("no sample machine named \"" + from + "\"." + Suggestion(names, from) +
               KnownNames(names));
}

void MakeMachine(Context& context, const std::string& folder, const std::string& from) {
  const std::filesystem::path target = PathFromUtf8(folder);
  CopyMachine(SourceFolder(from), target);
  const std::string path = PathText(std::filesystem::absolute(target).lexically_normal());
  if (context.output.json()) return context.output.Value({{"path", path}});
  context.output.Line(path);
  context.output.Notice("orvctl --machine " + ShellWord(folder) + " endpoints");
}

}  // namespace

void AddMachineCommands(CLI::App& app, Context& context) {
  CLI::App* machine =
      AddCommand(app, "machine", "Simulated machines", "orvctl machine new my-machine");
  machine->require_subcommand(1);
  struct Arguments {
    std::string folder;
    std::string from = kDefaultSample;
  };
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* make = AddCommand(*machine, "new", "A simulated machine's folder to start from",
                              "orvctl machine new my-machine --from broadwell-ultrabook");
  make->add_option("DIR", arguments->folder, "The new folder")->required();
  make->add_option("--from", arguments->from, "A sample's name, or another machine's folder")
      ->capture_default_str();
  make->callback(
      [&context, arguments] { MakeMachine(context, arguments->folder, arguments->from); });
  AddDriversCommand(*machine, context);
}

}  // namespace orv::cli
