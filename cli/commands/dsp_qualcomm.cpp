// dsp, dsp qualcomm
#include "cli/client/dsp_objects.h"
#include "cli/commands/commands.h"
#include "cli/dsp/plan.h"
#include "cli/dsp/push.h"
#include "cli/show/names.h"
#include "cli/show/select.h"
#include "platform/driver_names.h"

namespace orv::cli {
namespace {

struct QualcommArguments {
  std::string endpoint;
  std::string mode;
  std::string form_factor;
  bool with_blocks = false;
};

// By their number.
const std::vector<std::string> kFormFactors = {"reserved", "speaker", "headset", "hdmi",
                                               "bluetooth"};

void PushQualcommMode(Context& context, const QualcommArguments& arguments) {
  std::optional<int> form_factor;
  if (!arguments.form_factor.empty())
    form_factor = ParseChoice(kFormFactors, arguments.form_factor, "form factor");
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const QualcommDsp dsp(endpoint);
  if (form_factor) dsp.SetFormFactor(*form_factor);
  DspReadback readback(context.session().machine(), endpoint.id());
  const auto factor = static_cast<std::uint32_t>(dsp.FormFactor());
  const DspPlan plan =
      PlanQualcommMode(DspControls(kQualcommDriver, mode, kORVAPO_Cont_Public), factor);
  const PushOutcome outcome = RunPush(readback, plan, [&] { return dsp.WriteControls(mode); });
  SettlePush(context, outcome,
             fmt::format("writing {} into the Qualcomm DSP of {}", mode.name(), endpoint.name()),
             "The mode may have no public control with a name; -v shows more.");
  if (context.output.json()) return context.output.Value(ToJson(outcome));
  context.output.Line(
      fmt::format("{}, form factor {}{}",
                  context.output.Painted(Printable(ModeLabel(mode.name())), ansi::kBold), factor,
                  factor < kFormFactors.size() ? " (" + kFormFactors[factor] + ")" : ""));
  ShowPush(context, outcome, arguments.with_blocks);
}

}  // namespace

void AddDspCommands(CLI::App& app, Context& context) {
  CLI::App& dsp =
      AddGroup(app, {"dsp", "Read and change the DSP that runs an endpoint's processing",
                     "orvctl dsp intel 0 push\n  orvctl dsp qualcomm 0 push"});
  AddIntelDspCommands(dsp, context);

  const auto arguments = std::make_shared<QualcommArguments>();
  CLI::App& qualcomm = AddGroup(
      dsp, {"qualcomm", "Change the Qualcomm DSP of an endpoint", "orvctl dsp qualcomm 0 push"});
  qualcomm.add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  CLI::App& push = AddCommand(
      qualcomm, context, arguments, PushQualcommMode,
      {"push", "Send a mode's public controls into the driver and verify them",
       "orvctl dsp qualcomm 0 push --mode Movie/Internal --form-factor headset",
       "On a simulated machine the records that the driver received are compared with the mode's "
       "controls; exit status 3 if one is missing or differs. A real driver does not report what "
       "it took; the verdict shows that.",
       kPushJson});
  push.add_option("--mode", arguments->mode, kModeHelp);
  push.add_flag(kLongOption, arguments->with_blocks, kPushLongHelp);
  push.add_option("--form-factor", arguments->form_factor,
                  "What plays the sound, or its number from 0 to 4 (default: the endpoint's)")
      ->type_name(fmt::format("{}", fmt::join(kFormFactors, "|")));
}

}  // namespace orv::cli
