// set
#include "cli/client/control_view.h"
#include "cli/commands/commands.h"

namespace orv::cli {
namespace {

struct SetArguments {
  std::string endpoint;
  std::string mode;
  std::string control;
  std::string value;
  bool force = false;
};

void StoreValue(const Mode& mode, const std::string& name, std::int32_t value) {
  std::optional<Control> control = mode.Controls(kORVAPO_Cont_Public).Find(name);
  if (!control) control = mode.Controls(kORVAPO_Cont_Private).Find(name);
  if (!control) ComponentFailure("finding \"" + name + "\"", orv_apo::kNotFound, "");
  control->SetValue(value);
}

void SetControl(Context& context, const SetArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const ChangeLock lock = context.LockForChange(endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const ControlView before = FindControl(context.catalog(), endpoint, mode, arguments.control);
  const std::int32_t value = ParseValue(before, arguments.value, arguments.force);
  ControlView after;
  const bool stored = ChangeAndVerify([&] {
    StoreValue(mode, before.name, value);
    after = FindControl(context.catalog(), endpoint, mode, before.name);
    return after.value == value;
  });
  if (!stored) {
    ReportDifference(context, before.name, std::to_string(value),
                     after.value ? std::to_string(*after.value) : "\"" + after.text + "\"");
  }
  ShowControl(context.output, after);
}

}  // namespace

void AddSetCommand(CLI::App& app, Context& context) {
  const auto arguments = std::make_shared<SetArguments>();
  CLI::App* set =
      AddCommand(app, "set", "Change one control", "orvctl set 0 \"VQ3D-Process Enable\" Enabled");
  set->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  set->add_option("CONTROL", arguments->control, kControlHelp)->required();
  set->add_option("VALUE", arguments->value,
                  "A whole number in the control's own steps, or one of its choices")
      ->required();
  set->add_option("--mode", arguments->mode, kModeHelp);
  set->add_flag("--force", arguments->force, "Store a number outside the control's range too");
  set->callback([&context, arguments] { SetControl(context, *arguments); });
}

}  // namespace orv::cli
