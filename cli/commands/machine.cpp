// machine new; machine drivers is added from its own file
#include "cli/client/host.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/machine_folder.h"
#include "cli/show/select.h"
#include "platform/files.h"

namespace orv::cli {
namespace {

struct MachineArguments {
  std::string folder;
  std::string from = kDefaultSample;
};

// The folder that a sample's name or the path of another machine's folder means.
std::filesystem::path SourceFolder(const std::string& from) {
  std::error_code ignored;
  std::filesystem::path folder = PathFromUtf8(from);
  if (folder.has_parent_path()) return folder;
  std::filesystem::path sample = SampleMachinesFolder() / folder;
  if (std::filesystem::is_directory(sample, ignored)) return sample;
  if (std::filesystem::is_directory(folder, ignored)) return folder;
  const std::vector<std::string> names = MachineNames(SampleMachinesFolder());
  UsageFailure("no sample machine named \"{}\".{}{}", from, Suggestion(names, from),
               KnownNames(names));
}

void MakeMachine(Context& context, const MachineArguments& arguments) {
  const std::filesystem::path target = PathFromUtf8(arguments.folder);
  CopyMachine(SourceFolder(arguments.from), target);
  const std::string path = PathText(std::filesystem::absolute(target).lexically_normal());
  context.output.Result({{"path", path}}, path);
  if (!context.output.json())
    context.output.Notice("orvctl --machine " + ShellWord(arguments.folder) + " endpoints");
}

}  // namespace

void AddMachineCommands(CLI::App& app, Context& context) {
  CLI::App& machine = AddCommand(
      app, {"machine", "Make and read simulated machines", "orvctl machine new my-machine"});
  machine.require_subcommand(1);
  auto [make, arguments] =
      AddCommand(machine, context, MakeMachine,
                 {"new", "Make a simulated machine's folder to start from",
                  "orvctl machine new my-machine --from broadwell-ultrabook", "", "{path}"});
  make.add_option("DIR", arguments.folder, "The new folder")->required();
  make.add_option("--from", arguments.from, "A sample's name, or another machine's folder")
      ->type_name("SAMPLE")
      ->capture_default_str();
  AddDriversCommand(machine, context);
}

}  // namespace orv::cli
