// dsp intel
#include <cmath>
#include <filesystem>

#include "cli/client/dsp_objects.h"
#include "cli/commands/commands.h"
#include "cli/dsp/push.h"
#include "cli/offline/files.h"
#include "cli/show/failure.h"
#include "cli/show/select.h"
#include "platform/driver_names.h"
#include "platform/files.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

struct IntelArguments {
  std::string endpoint;
  std::string mode;
  std::string technology;
  bool set_default = false;
  std::string file;
  std::string channel;
  std::vector<std::string> bands;
};

const std::vector<std::string> kTechnologies = {"HPF", "PEQLEFT", "PEQRIGHT", "PEQALL"};
const std::vector<std::string> kChannels = {"left", "right", "both"};
std::string DriverRefused() {
  return "-v shows what the driver answered; what a simulated one received: " +
         CommandLine("machine drivers");
}

void CheckWord(const std::vector<std::string>& known, const std::string& word,
               const std::string& kind) {
  std::string list;
  for (const std::string& name : known) {
    if (name == word) return;
    list += (list.empty() ? "" : ", ") + name;
  }
  UsageFailure("no " + kind + " \"" + word + "\": expected " + list + "." +
               Suggestion(known, word));
}

void ShowOutcome(Context& context, const PushOutcome& outcome) {
  if (context.output.json()) return context.output.Value(ToJson(outcome));
  ShowPush(context, outcome);
}

std::uint8_t ApplyFlag(const IntelArguments& arguments) { return arguments.set_default ? 1 : 0; }

void PushMode(Context& context, const IntelArguments& arguments) {
  if (!arguments.technology.empty()) CheckWord(kTechnologies, arguments.technology, "technology");
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  const IntelDsp dsp(endpoint);
  if (!context.output.json())
    context.output.Line(context.output.Painted(Printable(mode.name()), ansi::kBold));
  DspReadback readback(context.session().machine(), endpoint.id());
  const DspPlan plan = PlanMode(dsp.Kind(), IntelControls(mode, kORVAPO_Cont_Public),
                                arguments.technology, ApplyFlag(arguments), &readback);
  const PushOutcome outcome = RunPush(readback, plan, [&] {
    return dsp.WriteControls(mode, arguments.technology, arguments.set_default);
  });
  SettlePush(context, outcome,
             "writing " + mode.name() + " into the Intel DSP of " + endpoint.name(),
             DriverRefused());
  ShowOutcome(context, outcome);
}

// As the machine names it: drive letters are its own, any other path is this host's.
std::wstring MachinePath(const std::string& file) {
  if (file.size() > 1 && file[1] == ':') return WideFromUtf8(file);
  return WideFromUtf8(PathText(std::filesystem::absolute(PathFromUtf8(file))));
}

void PushFile(Context& context, const IntelArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const std::wstring path = MachinePath(arguments.file);
  const ControlValueMap controls =
      DspFileControls(context.session().machine(), path, arguments.file);
  const IntelDsp dsp(endpoint);
  DspReadback readback(context.session().machine(), endpoint.id());
  const DspPlan plan = PlanMode(dsp.Kind(), controls, "", ApplyFlag(arguments), &readback);
  std::string error;
  const PushOutcome outcome = RunPush(
      readback, plan, [&] { return dsp.ProcessConfigFile(path, arguments.set_default, error); });
  if (!error.empty()) context.output.Notice("The component reports: " + error);
  SettlePush(context, outcome,
             "writing " + arguments.file + " into the Intel DSP of " + endpoint.name(),
             "The file needs a mode of its own default key, for the DSP. " + DriverRefused());
  ShowOutcome(context, outcome);
}

void ShowInfo(Context& context, const IntelArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const IntelDsp dsp(endpoint);
  const std::string kind = dsp.Kind();
  const IntelDsp::Versions versions = dsp.ReadVersions();
  if (context.output.json()) {
    return context.output.Value({{"kind", kind},
                                 {"api_version", versions.api},
                                 {"features", versions.features},
                                 {"module_name", versions.module_name},
                                 {"module_version", versions.module_version},
                                 {"apo_version", versions.component}});
  }
  Table table({{"INTEL DSP"}, {""}});
  table.Add({"driver", Cell(kind, ansi::kAccent)});
  table.Add({"interface", "version " + std::to_string(versions.api) + ", features " +
                              std::to_string(versions.features)});
  table.Add({"module", versions.module_name + " " + versions.module_version});
  table.Add({"component", versions.component});
  context.output.Show(table);
}

EqualizerBand ParseEqualizerBand(const std::string& text) {
  std::vector<float> numbers;
  for (const std::string& element : SplitList(text, "the band")) {
    const std::optional<float> number = ParseReal(element);
    if (!number) UsageFailure("\"" + element + "\" in the band \"" + text + "\" is not a number.");
    numbers.push_back(*number);
  }
  if (numbers.size() != 3) UsageFailure("the band \"" + text + "\" is not freq,gain,q.");
  const bool fits = numbers[0] >= 1 && numbers[0] < 24000 && numbers[2] > 0;
  if (!fits || numbers[0] != std::floor(numbers[0]))
    UsageFailure("the band \"" + text +
                 "\" needs a whole frequency from 1 to 23999 Hz and a quality above zero.");
  return {static_cast<std::int32_t>(numbers[0]), numbers[1], numbers[2]};
}

void PushEqualizer(Context& context, const IntelArguments& arguments) {
  CheckWord(kChannels, arguments.channel, "channel");
  std::vector<EqualizerBand> bands;
  for (const std::string& text : arguments.bands) bands.push_back(ParseEqualizerBand(text));
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const IntelDsp dsp(endpoint);
  std::vector<KELChannel> channels;
  if (arguments.channel != "right") channels.push_back(kKELAPO_Left);
  if (arguments.channel != "left") channels.push_back(kKELAPO_Right);
  const bool takes_bands = dsp.Kind() == kBroadwellDriver;
  DspReadback readback(context.session().machine(), endpoint.id());
  const DspPlan plan =
      takes_bands ? PlanEqualizer(bands, channels, ApplyFlag(arguments)) : DspPlan{};
  const PushOutcome outcome = RunPush(readback, plan, [&] {
    HRESULT status = S_OK;
    for (const KELChannel channel : channels)
      if (SUCCEEDED(status)) status = dsp.SetEqualizer(channel, bands, arguments.set_default);
    return status;
  });
  SettlePush(context, outcome, "setting the parametric equaliser (" + arguments.channel + ")",
             takes_bands
                 ? DriverRefused()
                 : "Only a Broadwell driver takes bands directly; into a Skylake one push "
                   "a mode: " +
                       CommandLine("dsp intel " + endpoint.number() + " push --tech PEQALL"));
  WarnOfDifferences(context, outcome);
  if (context.output.json()) {
    const Json json = ToJson(outcome);
    return context.output.Value({{"status", json["status"]}, {"verdict", json["verdict"]}});
  }
  const bool one = bands.size() == 1;
  context.output.Line(Counted(bands.size(), "band") + ", " + arguments.channel +
                      (one ? ": a high shelf. " : ": low shelf first, high shelf last. ") +
                      VerdictText(outcome));
}

using Action = void (*)(Context& context, const IntelArguments& arguments);

CLI::App* Add(CLI::App& parent, Context& context, const std::shared_ptr<IntelArguments>& arguments,
              const std::string& name, const std::string& description, const std::string& example,
              const std::string& details, Action action) {
  CLI::App* command = AddCommand(parent, name, description, example, details);
  command->callback([&context, arguments, action] { action(context, *arguments); });
  return command;
}

}  // namespace

void AddIntelDspCommands(CLI::App& dsp, Context& context) {
  const auto arguments = std::make_shared<IntelArguments>();
  CLI::App* intel = AddCommand(dsp, "intel", "The Intel DSP behind an endpoint",
                               "orvctl dsp intel 0 info\n  orvctl dsp intel 0 push");
  intel->require_subcommand(1);
  intel->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  const auto add_default = [&](CLI::App& command) {
    command.add_flag("--default", arguments->set_default, kDspDefaultHelp);
  };
  Add(*intel, context, arguments, "info", "The driver, its interface version and its module",
      "orvctl dsp intel 0 info", "", ShowInfo);

  CLI::App* push = Add(
      *intel, context, arguments, "push", "A mode's public controls into the DSP, read back",
      "orvctl dsp intel 0 push --mode Movie/Internal",
      "What the driver took and holds is compared with the mode's controls, field by field. Exit "
      "status\n3 if something differs or was not sent.",
      PushMode);
  push->add_option("--mode", arguments->mode, kModeHelp);
  push->add_option("--tech", arguments->technology,
                   "Only this technology: HPF, PEQLEFT, PEQRIGHT or PEQALL");
  add_default(*push);

  CLI::App* file =
      Add(*intel, context, arguments, "file",
          "A configuration file's default mode into the DSP, read back",
          "orvctl dsp intel 0 file 'C:\\ProgramData\\ORV Labs\\APO\\dsp_bring_up.xml'",
          "Paths with a drive letter are the machine's. Exit status as with push.", PushFile);
  file->add_option("XML", arguments->file, "The configuration file")->required();
  add_default(*file);

  AddIntelPropertyCommands(*intel, context, arguments->endpoint);

  CLI::App* peq = Add(*intel, context, arguments, "peq", "A parametric equaliser into the DSP",
                      "orvctl dsp intel 0 peq both 100,3,0.7 1000,-2,1.4 8000,4,0.7",
                      "A band is freq,gain,q in Hz and dB. The first band is a low shelf, the last "
                      "a high shelf.",
                      PushEqualizer);
  peq->add_option("CHANNEL", arguments->channel, "left, right or both")->required();
  peq->add_option("BAND", arguments->bands, "Bands in the order of their sections")->required();
  add_default(*peq);
}

}  // namespace orv::cli
