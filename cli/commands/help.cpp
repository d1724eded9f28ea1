// help, and what documents are made of
#include "cli/commands/command_line.h"
#include "cli/commands/commands.h"
#include "cli/commands/pages.h"

namespace orv::cli {
namespace {

struct HelpArguments {
  std::vector<std::string> words;
};

}  // namespace

void AddHelpCommands(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<HelpArguments>();
  CLI::App& help = AddCommand(app, {"help", "Explain the program or one command",
                                    "orvctl help set\n  orvctl help dsp intel push"});
  help.add_option("COMMAND", arguments->words, "The command's words");
  help.callback([&app, &context, arguments] {
    const std::string page = HelpPage(FindCommand(app, arguments->words));
    if (context.output.json()) return context.output.Value({{"page", page}});
    context.output.Raw(page);
  });

  CLI::App& reference = AddCommand(app, {"__reference", "A part of the documents", ""});
  reference.add_option("NAME", arguments->words, "manual, or a table's name")->required();
  reference.callback([&app, &context, arguments] {
    const std::string& name = arguments->words.front();
    context.output.Raw(name == "manual" ? ManualPage(app, context.version)
                                        : ReferenceTable(app, name));
  });
}

}  // namespace orv::cli
