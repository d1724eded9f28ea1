// save
#include "cli/client/control_view.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/preset.h"

namespace orv::cli {
namespace {

struct SaveArguments : EndpointArguments {
  std::string file;
};

PresetMode TakeMode(Context& context, const Endpoint& endpoint, const Mode& mode) {
  PresetMode taken{mode.name(), {}};
  for (const ControlView& view :
       ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public)) {
    if (!view.numeric) {
      context.output.Notice(fmt::format(
          "Left out: \"{}\" in {} holds \"{}\", which is neither a number nor a choice.", view.name,
          mode.name(), view.text));
      continue;
    }
    const bool is_choice =
        *view.value >= 0 && static_cast<std::size_t>(*view.value) < view.facts.choices.size();
    taken.controls.emplace_back(view.name,
                                is_choice ? PresetValue(view.text) : PresetValue(*view.value));
  }
  return taken;
}

void Save(Context& context, const SaveArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  Preset preset;
  preset.endpoint = endpoint.name();
  if (const auto current = endpoint.CurrentMode()) preset.current_mode = current->name();
  std::size_t controls = 0;
  for (const Mode& mode : endpoint.Modes()) {
    preset.enabled = mode.Enabled();
    preset.modes.push_back(TakeMode(context, endpoint, mode));
    controls += preset.modes.back().controls.size();
  }
  const std::string text = WritePreset(preset);
  const bool to_file = arguments.file != "-";
  if (to_file) ReplaceFile(arguments.file, text);
  if (!to_file || context.output.json()) return context.output.Raw(text);
  context.output.Line(fmt::format("Saved {} of {} to {}.", Counted(controls, "control"),
                                  Counted(preset.modes.size(), "mode"), arguments.file));
}

}  // namespace

void AddSaveCommand(CLI::App& app, Context& context) {
  auto [save, arguments] =
      AddCommand(app, context, Save,
                 {"save", "Write all public values, the current mode and the switch into a preset",
                  "orvctl save 0 evening.json", "", "the preset"});
  save.add_option("FILE", arguments.file, "The preset; - is standard output")->required();
}

}  // namespace orv::cli
