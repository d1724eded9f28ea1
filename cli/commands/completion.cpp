// completion bash, zsh and fish, and the command that their scripts ask
#include "cli/commands/commands.h"
#include "cli/commands/complete.h"

namespace orv::cli {
namespace {

// Each passes its line up to the cursor and gets one line with the kind of files that fit,
// then the candidates.
constexpr char kBashScript[] = R"sh(# orvctl in bash. To load it: eval "$(orvctl completion bash)"
_orvctl() {
  local line kind=
  COMPREPLY=()
  while IFS= read -r line; do
    if [[ -z $kind ]]; then kind=$line; else COMPREPLY+=("$line"); fi
  done < <("${COMP_WORDS[0]/#\~/$HOME}" __complete bash "${COMP_LINE:0:COMP_POINT}" 2>/dev/null)
  case $kind in
    files) compopt -o default ;;
    folders) compopt -o dirnames ;;
  esac 2>/dev/null
}
complete -F _orvctl orvctl
)sh";

constexpr char kZshScript[] = R"sh(#compdef orvctl
# orvctl in zsh. To load it: eval "$(orvctl completion zsh)"
_orvctl() {
  local line kind=
  local -a texts shown
  while IFS= read -r line; do
    if [[ -z $kind ]]; then
      kind=$line
    else
      texts+=("${line%%$'\t'*}")
      shown+=("${line/$'\t'/  }")
    fi
  done < <("${(Q)words[1]}" __complete zsh "${(j: :)words[1,CURRENT]}" 2>/dev/null)
  (( $#texts )) && compadd -U -l -d shown -a texts
  case $kind in
    files) _files ;;
    folders) _files -/ ;;
  esac
}
if [[ $funcstack[1] == _orvctl ]]; then _orvctl "$@"; else compdef _orvctl orvctl; fi
)sh";

constexpr char kFishScript[] = R"sh(# orvctl in fish. To load it: orvctl completion fish | source
function __orvctl_complete
    set -l kind
    for line in (orvctl __complete fish (commandline -cp) 2>/dev/null)
        if test -z "$kind"
            set kind $line
        else
            echo $line
        end
    end
    switch "$kind"
        case files
            __fish_complete_path (commandline -ct)
        case folders
            __fish_complete_directories (commandline -ct)
    end
end
complete -c orvctl -f -a '(__orvctl_complete)'
)sh";

struct CompleteArguments {
  std::string shell;
  std::string line;
};

}  // namespace

void AddCompletionCommand(CLI::App& app, Context& context) {
  CLI::App& completion =
      AddGroup(app, {"completion", "Complete commands, names and values in a shell",
                     "eval \"$(orvctl completion bash)\"",
                     "Prints a script that makes the shell complete commands, options, "
                     "endpoints, modes, controls, choices and names of files. An installed "
                     "orvctl brings the scripts with it."});
  struct Shell {
    const char* name;
    const char* script;
    const char* description;
    const char* example;
  };
  constexpr Shell kShells[] = {
      {"bash", kBashScript, "Print the script for bash", "eval \"$(orvctl completion bash)\""},
      {"zsh", kZshScript, "Print the script for zsh", "orvctl completion zsh >_orvctl"},
      {"fish", kFishScript, "Print the script for fish", "orvctl completion fish >orvctl.fish"}};
  for (const Shell& shell : kShells) {
    const char* const script = shell.script;
    AddCommand(completion, {shell.name, shell.description, shell.example, "", "{script}"})
        .callback([&context, script] {
          if (context.output.json()) return context.output.Value({{"script", script}});
          context.output.Raw(script);
        });
  }

  const auto arguments = std::make_shared<CompleteArguments>();
  CLI::App& complete = AddCommand(app, {"__complete", "Candidates for a command line", ""});
  complete.add_option("SHELL", arguments->shell, "bash, zsh or fish")->required();
  complete.add_option("LINE", arguments->line, "The line up to the cursor")->required();
  complete.callback([&app, &context, arguments] {
    const TypedLine line = SplitTypedLine(arguments->line);
    context.output.Raw(CompletionLines(Complete(app, line), line, arguments->shell == "bash"));
  });
}

}  // namespace orv::cli
