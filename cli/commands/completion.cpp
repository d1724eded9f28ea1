// completion bash
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

std::vector<std::string> OptionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::Option* option : command.get_options())
    for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
  return names;
}

std::vector<const CLI::App*> Commands(const CLI::App& parent) {
  return parent.get_subcommands([](const CLI::App*) { return true; });
}

// What may follow the words typed so far: sub-commands, then the command's and the global options.
std::string Words(const CLI::App& command, const CLI::App& root) {
  std::string words;
  for (const CLI::App* next : Commands(command)) words += next->get_name() + " ";
  for (const std::string& name : OptionNames(command)) words += name + " ";
  if (&command != &root) {
    for (const std::string& name : OptionNames(root))
      if (name != "--help") words += name + " ";
  }
  return words;
}

void AddCases(const CLI::App& command, const CLI::App& root, const std::string& path,
              std::string& script) {
  script += "    '" + path + "') words='" + Words(command, root) + "' ;;\n";
  for (const CLI::App* next : Commands(command))
    AddCases(*next, root, path + "/" + next->get_name(), script);
}

std::string KnownPaths(const CLI::App& command, const std::string& path) {
  std::string paths;
  for (const CLI::App* next : Commands(command)) {
    const std::string name = path + "/" + next->get_name();
    paths += " " + name + KnownPaths(*next, name);
  }
  return paths;
}

std::string BashScript(const CLI::App& root) {
  std::string script =
      "# bash completion for orvctl; load it with: eval \"$(orvctl completion bash)\"\n"
      "_orvctl() {\n"
      "  local word path='' words='' i\n"
      "  local known=' " +
      KnownPaths(root, "") +
      " '\n"
      "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
      "    word=\"${COMP_WORDS[i]}\"\n"
      "    [[ $known == *\" $path/$word \"* ]] && path=\"$path/$word\"\n"
      "  done\n"
      "  case \"$path\" in\n";
  AddCases(root, root, "", script);
  script +=
      "  esac\n"
      "  COMPREPLY=($(compgen -W \"$words\" -- \"${COMP_WORDS[COMP_CWORD]}\"))\n"
      "}\n"
      "complete -o default -F _orvctl orvctl\n";
  return script;
}

}  // namespace

void AddCompletionCommand(CLI::App& app, Context& context) {
  CLI::App* completion =
      AddCommand(app, "completion", "Shell completion", "eval \"$(orvctl completion bash)\"");
  completion->require_subcommand(1);
  AddCommand(*completion, "bash", "Completion for bash", "eval \"$(orvctl completion bash)\"")
      ->callback([&app, &context] {
        const std::string script = BashScript(app);
        if (context.output.json()) return context.output.Value({{"script", script}});
        context.output.Raw(script);
      });
}

}  // namespace orv::cli
