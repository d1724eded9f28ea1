// machine list, reset and new; machine drivers is added from its own file
#include "cli/client/host.h"
#include "cli/client/user_machines.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/machine_folder.h"
#include "cli/show/select.h"
#include "platform/files.h"

namespace orv::cli {
namespace {

struct NoArguments {};

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

void ListMachines(Context& context, const NoArguments&) {
  std::filesystem::path used = context.session_options.machine;
  try {
    if (used.empty()) used = DefaultMachineFolder();
  } catch (const Failure&) {
    // Without a home folder none of them is used.
  }
  if (!used.empty()) used = std::filesystem::absolute(used).lexically_normal();
  Json list = Json::array();
  Table table({{""}, {"MACHINE"}, {"WHOSE"}, {"FOLDER"}});
  const auto add = [&](const std::string& name, const std::string& whose,
                       const std::filesystem::path& folder, bool is_used) {
    list.push_back({{"name", name},
                    {"sample", whose == "sample"},
                    {"path", PathText(folder)},
                    {"used", is_used}});
    table.Add({is_used ? "*" : "", name, whose, PathText(folder)});
  };
  bool is_known = used.empty();
  for (const KnownMachine& machine : KnownMachines()) {
    const bool is_used = machine.folder == used || UserMachinesFolder() / machine.name == used;
    is_known = is_known || is_used;
    add(machine.name, machine.is_copy ? "yours" : "sample", machine.folder, is_used);
  }
  if (!is_known) add(PathText(used.filename()), "other", used, true);
  context.output.Result(list, table);
}

struct ResetArguments {
  std::string name = kDefaultSample;
};

void ResetMachine(Context& context, const ResetArguments& arguments) {
  const std::string path = PathText(ResetUserMachine(arguments.name));
  context.output.Result({{"path", path}}, path);
}

}  // namespace

void AddMachineCommands(CLI::App& app, Context& context) {
  CLI::App& machine = AddGroup(
      app, {"machine", "Make and read simulated machines", "orvctl machine new my-machine"});
  AddCommand(
      machine, context, ListMachines,
      {"list", "Show the sample machines and your copies of them", "orvctl machine list",
       "The star marks the machine that commands use, which has a row too if it is in another "
       "folder. A command makes your copy of a sample when it first needs it.",
       "an array of {name, sample, path, used}"});
  auto [reset, reset_arguments] = AddCommand(
      machine, context, ResetMachine,
      {"reset", "Make your copy of a sample machine as new", "orvctl machine reset broken",
       "What was changed on the copy is lost.", "{path}"});
  reset.add_option("NAME", reset_arguments.name, "A sample's name")
      ->type_name("SAMPLE")
      ->capture_default_str();
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
