// dsp intel
#include <charconv>
#include <cmath>
#include <filesystem>

#include "cli/commands.h"
#include "cli/dsp_objects.h"
#include "cli/dsp_push.h"
#include "cli/files.h"
#include "cli/select.h"
#include "config/configuration_file.h"
#include "platform/files.h"
#include "platform/simulated/drivers/driver_requests.h"
#include "platform/text.h"

namespace orv::cli {
namespace {

struct Arguments {
  std::string endpoint;
  std::string mode;
  std::string technology;
  bool set_default = false;
  std::string file;
  std::string property;
  std::string value;
  std::string channel;
  std::vector<std::string> bands;
};

const std::vector<std::string> kTechnologies = {"HPF", "PEQLEFT", "PEQRIGHT", "PEQALL"};
const std::vector<std::string> kChannels = {"left", "right", "both"};
constexpr char kDriverSaidNo[] =
    "-v shows what the driver answered; \"orvctl machine drivers\" what a simulated one received.";
constexpr char kDefaultHelp[] = "Have the driver keep the values as its default";

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

enum class Extent { Part, WholeMode };

// Runs a push on the endpoint; `show` gets what came of it unless it was refused.
void Push(Context& context, const Endpoint& endpoint, Extent extent, const std::string& asked,
          const std::string& remedy, const std::function<HRESULT(const IntelDsp&)>& push,
          const std::function<void(const PushOutcome&)>& show) {
  const IntelDsp dsp(endpoint);
  const auto readback = DspReadback::Begin(context.session().machine(), endpoint.id());
  PushOutcome outcome = PushAndLook(readback.get(), [&] { return push(dsp); });
  if (extent == Extent::WholeMode) AddUnsentBlocks(outcome);
  Judge(context, outcome, asked, remedy);
  show(outcome);
}

void ShowOutcome(Context& context, const PushOutcome& outcome) {
  if (context.output.json()) return context.output.Value(ToJson(outcome));
  ShowPush(context, outcome);
}

void PushMode(Context& context, const Arguments& arguments) {
  if (!arguments.technology.empty()) CheckWord(kTechnologies, arguments.technology, "technology");
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const Mode mode = context.SelectMode(endpoint, arguments.mode);
  if (!context.output.json())
    context.output.Line(context.output.Painted(Printable(mode.name()), ansi::kBold));
  Push(
      context, endpoint, arguments.technology.empty() ? Extent::WholeMode : Extent::Part,
      "writing " + mode.name() + " into the Intel DSP of " + endpoint.name(), kDriverSaidNo,
      [&](const IntelDsp& dsp) {
        return dsp.WriteControls(mode, arguments.technology, arguments.set_default);
      },
      [&](const PushOutcome& outcome) { ShowOutcome(context, outcome); });
}

// As the machine names it: drive letters are its own, any other path is this host's.
std::wstring MachinePath(const std::string& file) {
  if (file.size() > 1 && file[1] == ':') return WideFromUtf8(file);
  return WideFromUtf8(PathText(std::filesystem::absolute(PathFromUtf8(file))));
}

// A file that does not load must not look like one whose values came back changed.
void CheckFileLoads(Context& context, const std::wstring& path, const std::string& name) {
  constexpr std::uint32_t kDspLocation = 3;
  ORVAPOConfigurationFile file(context.session().machine());
  const std::uint32_t status = file.Load(path, kORVAPO_EPCfg_DSP, kDspLocation);
  if (status == kConfigLoaded || status == 4 || status == 7) return;
  throw Failure(kRefused, "the configuration file " + name + " cannot be read (load status " +
                              std::to_string(status) + ").\n\"orvctl check " + name +
                              "\" explains what is wrong in it.");
}

void PushFile(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const std::wstring path = MachinePath(arguments.file);
  CheckFileLoads(context, path, arguments.file);
  std::string error;
  Push(
      context, endpoint, Extent::WholeMode,
      "writing " + arguments.file + " into the Intel DSP of " + endpoint.name(),
      "The file needs a mode of its own default key, for the DSP. " + std::string(kDriverSaidNo),
      [&](const IntelDsp& dsp) {
        const HRESULT status = dsp.ProcessConfigFile(path, arguments.set_default, error);
        if (!error.empty()) context.output.Remark("The component says: " + error);
        return status;
      },
      [&](const PushOutcome& outcome) { ShowOutcome(context, outcome); });
}

void ShowInfo(Context& context, const Arguments& arguments) {
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

// A name that nobody describes is most likely misspelt.
void CheckPropertyName(Context& context, const std::string& name) {
  const std::string key = name.substr(name.find(':') + 1);
  const std::vector<std::string> names = context.catalog().DescribedNames();
  if (names.empty() || context.catalog().Describe(key).described) return;
  UsageFailure("no property named \"" + name + "\"." + Suggestion(names, name) +
               "\n\"orvctl controls\" lists the names.");
}

void ShowProperty(Context& context, const std::string& name, const Json& value) {
  if (context.output.json()) return context.output.Value({{"name", name}, {"value", value}});
  context.output.Line(name + " = " + (value.is_string() ? value.get<std::string>() : value.dump()));
}

void GetProperty(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const IntelDsp dsp(endpoint);
  std::int32_t value = 0;
  const HRESULT status = dsp.GetProperty(arguments.property, arguments.set_default, value);
  if (FAILED(status)) CheckPropertyName(context, arguments.property);
  Require(status, "reading \"" + arguments.property + "\" from the Intel DSP",
          dsp.Kind() == kSkylakeDriver ? "This driver lets only \"VQ3D-Process Enable\" be read."
                                       : "This driver lets only some switches and levels be read.");
  ShowProperty(context, arguments.property, value);
}

void SetProperty(Context& context, const Arguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const std::string& name = arguments.property;
  CheckPropertyName(context, name);
  Push(
      context, endpoint, Extent::Part,
      "setting \"" + name + "\" to " + arguments.value + " in the Intel DSP", kDriverSaidNo,
      [&](const IntelDsp& dsp) {
        return dsp.PutProperty(name, arguments.set_default, arguments.value);
      },
      [&](const PushOutcome& outcome) {
        RemarkDifferences(context, outcome);
        if (outcome.looked_into && outcome.blocks.empty())
          throw Failure(kRefused,
                        "the driver took nothing for \"" + name + "\".\n" + kDriverSaidNo);
        const std::optional<int> number = ParseNumber(arguments.value);
        ShowProperty(context, name, number ? Json(*number) : Json(arguments.value));
      });
}

EqualizerBand ParseBand(const std::string& text) {
  constexpr std::size_t kNumbers = 3;
  std::vector<float> numbers;
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end && numbers.size() < kNumbers) {
    float number = 0;
    const auto [rest, error] = std::from_chars(at, end, number);
    if (error != std::errc() || !std::isfinite(number)) break;
    numbers.push_back(number);
    at = rest;
    if (at == end || *at != ',' || numbers.size() == kNumbers) break;
    ++at;
  }
  if (at != end || numbers.size() != kNumbers)
    UsageFailure("the band \"" + text + "\" is not freq,gain,q.");
  const bool fits = numbers[0] >= 1 && numbers[0] < 24000 && numbers[2] > 0;
  if (!fits || numbers[0] != std::floor(numbers[0]))
    UsageFailure("the band \"" + text +
                 "\" needs a whole frequency from 1 to 23999 Hz and a quality above zero.");
  return {static_cast<std::int32_t>(numbers[0]), numbers[1], numbers[2]};
}

void PushEqualizer(Context& context, const Arguments& arguments) {
  CheckWord(kChannels, arguments.channel, "channel");
  std::vector<EqualizerBand> bands;
  for (const std::string& text : arguments.bands) bands.push_back(ParseBand(text));
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  Push(
      context, endpoint, Extent::Part,
      "setting the parametric equaliser (" + arguments.channel + ")",
      "Only a Broadwell driver takes bands directly; into a Skylake one push a mode with --tech "
      "PEQALL.",
      [&](const IntelDsp& dsp) {
        HRESULT status = S_OK;
        for (const KELChannel channel : {kKELAPO_Left, kKELAPO_Right}) {
          const bool wanted = arguments.channel != kChannels[channel == kKELAPO_Left ? 1 : 0];
          if (wanted && SUCCEEDED(status))
            status = dsp.SetEqualizer(channel, bands, arguments.set_default);
        }
        return status;
      },
      [&](const PushOutcome& outcome) {
        RemarkDifferences(context, outcome);
        if (context.output.json())
          return context.output.Value({{"status", static_cast<std::uint32_t>(outcome.status)}});
        context.output.Line(
            std::to_string(bands.size()) + " bands set, " + arguments.channel +
            (bands.size() > 1 ? "; the first as low shelf, the last as high shelf." : "."));
      });
}

using Action = void (*)(Context& context, const Arguments& arguments);

CLI::App* Add(CLI::App& parent, Context& context, const std::shared_ptr<Arguments>& arguments,
              const std::string& name, const std::string& description, const std::string& example,
              const std::string& details, Action action) {
  CLI::App* command = AddCommand(parent, name, description, example, details);
  command->callback([&context, arguments, action] { action(context, *arguments); });
  return command;
}

}  // namespace

void AddIntelDspCommands(CLI::App& dsp, Context& context) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* intel = AddCommand(dsp, "intel", "The Intel DSP behind an endpoint",
                               "orvctl dsp intel 0 info\n  orvctl dsp intel 0 push");
  intel->require_subcommand(1);
  intel->add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  const auto add_default = [&](CLI::App& command) {
    command.add_flag("--default", arguments->set_default, kDefaultHelp);
  };
  Add(*intel, context, arguments, "info", "The driver, its interface version and its module",
      "orvctl dsp intel 0 info", "", ShowInfo);

  CLI::App* push = Add(
      *intel, context, arguments, "push", "A mode's public controls into the DSP, read back",
      "orvctl dsp intel 0 push --mode Movie/Internal",
      "What the driver answers when it is read is compared with what it received, field by field.\n"
      "Exit status 3 when something differs.",
      PushMode);
  push->add_option("--mode", arguments->mode, kModeHelp);
  push->add_option("--tech", arguments->technology,
                   "Only this technology: HPF, PEQLEFT, PEQRIGHT or PEQALL");
  add_default(*push);

  CLI::App* file =
      Add(*intel, context, arguments, "file",
          "A configuration file's default mode into the DSP, read back",
          "orvctl dsp intel 0 file bring_up.xml",
          "Paths with a drive letter are the machine's. Exit status as with push.", PushFile);
  file->add_option("XML", arguments->file, "The configuration file")->required();
  add_default(*file);

  CLI::App* get = Add(*intel, context, arguments, "get", "One property as the DSP holds it",
                      "orvctl dsp intel 0 get \"VQ3D-Process Enable\"", "", GetProperty);
  get->add_option("PROPERTY", arguments->property, kControlHelp)->required();
  add_default(*get);

  CLI::App* set = Add(*intel, context, arguments, "set", "One property of the DSP",
                      "orvctl dsp intel 0 set \"VQ3D-Definition Level\" 60",
                      "The driver's block is read, changed and sent back; nothing is stored in "
                      "the registry.",
                      SetProperty);
  set->add_option("PROPERTY", arguments->property, kControlHelp)->required();
  set->add_option("VALUE", arguments->value, "A whole number, or a text where one is taken")
      ->required();
  add_default(*set);

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
