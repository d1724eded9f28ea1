// completion bash
#include <boost/algorithm/string/erase.hpp>

#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

std::vector<const CLI::App*> Commands(const CLI::App& parent) {
  return parent.get_subcommands([](const CLI::App*) { return true; });
}

std::string OptionWords(const CLI::App& command) {
  std::string words;
  for (const CLI::Option* option : command.get_options())
    for (const std::string& name : option->get_lnames()) words += "--" + name + " ";
  return words;
}

// What may follow the words of each command: sub-commands, then its own and the global options.
struct Script {
  std::string known;  // paths of all commands
  std::string cases;

  void Add(const CLI::App& command, const CLI::App& root, const std::string& path) {
    std::string words;
    for (const CLI::App* next : Commands(command)) words += next->get_name() + " ";
    words += OptionWords(command);
    if (&command != &root) words += boost::erase_first_copy(OptionWords(root), "--help ");
    cases += fmt::format("    '{}') words='{}' ;;\n", path, words);
    for (const CLI::App* next : Commands(command)) {
      const std::string next_path = path + "/" + next->get_name();
      known += " " + next_path;
      Add(*next, root, next_path);
    }
  }
};

std::string BashScript(const CLI::App& root) {
  Script script;
  script.Add(root, root, "");
  return "# bash completion for orvctl; load it with: eval \"$(orvctl completion bash)\"\n"
         "_orvctl() {\n"
         "  local word path='' words='' i\n"
         "  local known=' " +
         script.known +
         " '\n"
         "  for ((i = 1; i < COMP_CWORD; i++)); do\n"
         "    word=\"${COMP_WORDS[i]}\"\n"
         "    [[ $known == *\" $path/$word \"* ]] && path=\"$path/$word\"\n"
         "  done\n"
         "  case \"$path\" in\n" +
         script.cases +
         "  esac\n"
         "  COMPREPLY=($(compgen -W \"$words\" -- \"${COMP_WORDS[COMP_CWORD]}\"))\n"
         "}\n"
         "complete -o default -F _orvctl orvctl\n";
}

}  // namespace

void AddCompletionCommand(CLI::App& app, Context& context) {
  constexpr char kExample[] = "eval \"$(orvctl completion bash)\"";
  CLI::App& completion = AddCommand(app, {"completion", "Shell completion", kExample});
  completion.require_subcommand(1);
  AddCommand(completion, {"bash", "Completion for bash", kExample}).callback([&app, &context] {
    const std::string script = BashScript(app);
    if (context.output.json()) return context.output.Value({{"script", script}});
    context.output.Raw(script);
  });
}

}  // namespace orv::cli
