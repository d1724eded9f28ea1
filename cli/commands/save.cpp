// save
#include "cli/client/control_view.h"
#include "cli/commands/commands.h"
#include "cli/offline/files.h"
#include "cli/offline/preset.h"

namespace orv::cli {
namespace {

PresetMode TakeMode(Context& context, const Endpoint& endpoint, const Mode& mode) {
  PresetMode taken{mode.name(), {}};
  for (const ControlView& view :
       ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public)) {
    if (!view.numeric) {
      context.output.Notice("Left out: \"" + view.name + "\" in " + mode.name() + " holds \"" +
                            view.text + "\", which is neither a number nor a choice.");
      continue;
    }
    const bool is_choice =
        *view.value >= 0 && static_cast<std::size_t>(*view.value) < view.facts.choices.size();
    taken.controls.emplace_back(view.name,
                                is_choice ? PresetValue(view.text) : PresetValue(*view.value));
  }
  return taken;
}

void Save(Context& context, const std::string& endpoint_text, const std::string& file) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
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
  if (file == "-") return context.output.Raw(text);
  ReplaceFile(file, text);
  if (context.output.json()) return context.output.Raw(text);
  context.output.Line("Saved " + Counted(controls, "control") + " of " +
                      Counted(preset.modes.size(), "mode") + " to " + file + ".");
}

}  // namespace

void AddSaveCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  const auto file = std::make_shared<std::string>();
  CLI::App* save = AddCommand(
      app, "save", "Public values of all modes, current mode and switch into a preset file",
      "orvctl save 0 evening.json");
  save->add_option("ENDPOINT", *endpoint, kEndpointHelp)->required();
  save->add_option("FILE", *file, "The preset; - is standard output")->required();
  save->callback([&context, endpoint, file] { Save(context, *endpoint, *file); });
}

}  // namespace orv::cli
