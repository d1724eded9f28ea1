// dsp intel: info, push, file, get, set, peq
#include <cmath>
#include <filesystem>

#include "cli/client/control_view.h"
#include "cli/client/dsp_objects.h"
#include "cli/commands/commands.h"
#include "cli/dsp/push.h"
#include "cli/offline/files.h"
#include "cli/show/names.h"
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
  bool with_blocks = false;
  bool raw = false;
  std::string file;
  std::string channel;
  std::vector<std::string> bands;
  std::string property;
  std::string value;

  std::uint8_t apply_flag() const { return set_default ? 1 : 0; }
};

std::string DriverRefused() {
  return "-v shows what the driver answered; what a simulated one received: " +
         CommandLine("machine drivers");
}

// The endpoint's DSP, readable before a push.
struct IntelTarget {
  IntelTarget(Context& context, const IntelArguments& arguments)
      : endpoint(context.SelectEndpoint(arguments.endpoint)),
        dsp(endpoint),
        readback(context.session().machine(), endpoint.id()) {}

  Endpoint endpoint;
  IntelDsp dsp;
  DspReadback readback;
};

void Settle(Context& context, const PushOutcome& outcome, const IntelTarget& target,
            const std::string& source, const std::string& remedy, bool with_blocks) {
  SettlePush(context, outcome,
             fmt::format("writing {} into the Intel DSP of {}", source, target.endpoint.name()),
             remedy + DriverRefused());
  if (context.output.json()) return context.output.Value(ToJson(outcome));
  ShowPush(context, outcome, with_blocks);
}

void PushMode(Context& context, const IntelArguments& arguments) {
  IntelTarget target(context, arguments);
  const Mode mode = context.SelectMode(target.endpoint, arguments.mode);
  if (!context.output.json())
    context.output.Line(context.output.Painted(Printable(ModeLabel(mode.name())), ansi::kBold));
  const DspPlan plan = PlanMode(target.dsp.Kind(), IntelControls(mode, kORVAPO_Cont_Public),
                                arguments.technology, arguments.apply_flag(), &target.readback);
  const PushOutcome outcome = RunPush(target.readback, plan, [&] {
    return target.dsp.WriteControls(mode, arguments.technology, arguments.set_default);
  });
  Settle(context, outcome, target, ModeLabel(mode.name()), "", arguments.with_blocks);
}

// As the machine names it: drive letters are its own, any other path is this host's.
std::wstring MachinePath(const std::string& file) {
  if (file.size() > 1 && file[1] == ':') return WideFromUtf8(file);
  return WideFromUtf8(PathText(std::filesystem::absolute(PathFromUtf8(file))));
}

void PushFile(Context& context, const IntelArguments& arguments) {
  const std::wstring path = MachinePath(arguments.file);
  IntelTarget target(context, arguments);
  const ControlValueMap controls =
      DspFileControls(context.session().machine(), path, arguments.file);
  const DspPlan plan =
      PlanMode(target.dsp.Kind(), controls, "", arguments.apply_flag(), &target.readback);
  std::string error;
  const PushOutcome outcome = RunPush(target.readback, plan, [&] {
    return target.dsp.ProcessConfigFile(path, arguments.set_default, error);
  });
  if (!error.empty()) context.output.Notice("The component reports: " + error);
  Settle(context, outcome, target, arguments.file,
         "The file needs a mode of its own default key, for the DSP. ", arguments.with_blocks);
}

void ShowInfo(Context& context, const IntelArguments& arguments) {
  const IntelDsp dsp(context.SelectEndpoint(arguments.endpoint));
  const std::string kind = dsp.Kind();
  const IntelDsp::Versions versions = dsp.ReadVersions();
  Table table({{"INTEL DSP"}, {""}});
  table.Add({"driver", Cell(kind, ansi::kAccent)});
  table.Add({"interface", fmt::format("version {}, features {}", versions.api, versions.features)});
  table.Add({"module", versions.module_name + " " + versions.module_version});
  table.Add({"component", versions.component});
  context.output.Result({{"kind", kind},
                         {"api_version", versions.api},
                         {"features", versions.features},
                         {"module_name", versions.module_name},
                         {"module_version", versions.module_version},
                         {"apo_version", versions.component}},
                        table);
}

EqualizerBand ParseEqualizerBand(const std::string& text) {
  std::vector<float> numbers;
  for (const std::string& element : SplitList(text, "the band")) {
    const std::optional<float> number = ParseReal(element);
    if (!number) UsageFailure("\"{}\" in the band \"{}\" is not a number.", element, text);
    numbers.push_back(*number);
  }
  if (numbers.size() != 3) UsageFailure("the band \"{}\" is not freq,gain,q.", text);
  const bool fits = numbers[0] >= 1 && numbers[0] < 24000 && numbers[2] > 0;
  if (!fits || numbers[0] != std::floor(numbers[0]))
    UsageFailure(
        "the band \"{}\" needs a whole frequency from 1 to 23999 Hz and a quality above zero.",
        text);
  return {static_cast<std::int32_t>(numbers[0]), numbers[1], numbers[2]};
}

void PushEqualizer(Context& context, const IntelArguments& arguments) {
  std::vector<EqualizerBand> bands;
  for (const std::string& text : arguments.bands) bands.push_back(ParseEqualizerBand(text));
  IntelTarget target(context, arguments);
  std::vector<KELChannel> channels;
  if (arguments.channel != "right") channels.push_back(kKELAPO_Left);
  if (arguments.channel != "left") channels.push_back(kKELAPO_Right);
  const bool takes_bands = target.dsp.Kind() == kBroadwellDriver;
  const DspPlan plan =
      takes_bands ? PlanEqualizer(bands, channels, arguments.apply_flag()) : DspPlan{};
  const PushOutcome outcome = RunPush(target.readback, plan, [&] {
    HRESULT status = S_OK;
    for (const KELChannel channel : channels)
      if (SUCCEEDED(status))
        status = target.dsp.SetEqualizer(channel, bands, arguments.set_default);
    return status;
  });
  const std::string push_mode =
      CommandLine("dsp intel {} push --tech PEQALL", target.endpoint.number());
  SettlePush(context, outcome,
             fmt::format("setting the parametric equaliser ({})", arguments.channel),
             takes_bands ? DriverRefused()
                         : "Only a Broadwell driver takes bands directly. To push a mode into a "
                           "Skylake driver: " +
                               push_mode);
  WarnOfDifferences(context, outcome);
  const Json json = ToJson(outcome);
  context.output.Result(
      {{"status", json["status"]}, {"verdict", json["verdict"]}},
      fmt::format("{}, {}: {}. {}", Counted(bands.size(), "band"), arguments.channel,
                  bands.size() == 1 ? "a high shelf" : "low shelf first, high shelf last",
                  VerdictText(outcome)));
}

[[noreturn]] void UnknownProperty(Context& context, const Endpoint& endpoint,
                                  const std::string& name) {
  if (context.catalog().Describe(name).described)
    UsageFailure("this DSP does not take \"{}\" by itself; push a mode.", name);
  UsageFailure("no property named \"{}\".{}\nTo list the names: {}", name,
               Suggestion(context.catalog().DescribedNames(), name),
               CommandLine("controls " + endpoint.number()));
}

// The property that the text names: one that the driver takes or the technology library describes,
// or the only one that the driver takes with this part in its name.
std::string PropertyName(Context& context, const IntelTarget& target, const std::string& text) {
  const std::string kind = target.dsp.Kind();
  const Catalog& catalog = context.catalog();
  if (FindProperty(kind, text) || catalog.Describe(text).described) return text;
  std::vector<std::string> names = catalog.DescribedNames();
  std::erase_if(names, [&](const std::string& name) { return !FindProperty(kind, name); });
  const std::vector<std::size_t> fitting = SelectByPart(names, text);
  if (fitting.empty()) return text;  // the driver may know it
  if (fitting.size() > 1) FailAsAmbiguous(names, fitting, text, "property");
  return names[fitting.front()];
}

void GetProperty(Context& context, const IntelArguments& arguments) {
  IntelTarget target(context, arguments);
  const IntelDsp& dsp = target.dsp;
  const std::string name = PropertyName(context, target, arguments.property);
  const bool is_skylake = dsp.Kind() == kSkylakeDriver;
  std::int32_t value = 0;
  const HRESULT status = dsp.GetProperty(name, arguments.set_default, value);
  if (FAILED(status) && !FindProperty(dsp.Kind(), name) &&
      !context.catalog().Describe(name).described)
    UnknownProperty(context, target.endpoint, name);
  const std::string asked = fmt::format("reading \"{}\" from the Intel DSP", name);
  if (status == E_NOTIMPL)
    throw Failure(
        kRefused,
        fmt::format("{}: 0x80004001 (a property that the Intel DSP does not have)\n"
                    "Of this driver only {} can be read.",
                    asked, is_skylake ? "\"VQ3D-Process Enable\"" : "some switches and levels"));
  Require(status, asked, "-v shows what the driver answered.");
  if (value == 0 && is_skylake && !target.readback.ReadsSwitch())
    throw Failure(kRefused,
                  asked + ": the driver does not answer.\n-v shows the component's calls.");
  const ValueForm form = context.catalog().FormOf(name);
  const std::string text = ValueText(value, form);
  context.output.Result({{"name", name}, {"value", value}, {"text", text}, {"unit", form.unit}},
                        fmt::format("{} = {}", name, text));
}

// What the text means for a control that the technology library describes; else a number.
std::int32_t ParseProperty(Context& context, const std::string& name, const std::string& text,
                           ValueReader read) {
  ControlView view;
  view.name = name;
  view.facts = context.catalog().Describe(name);
  view.minimum = view.facts.minimum;
  view.maximum = view.facts.maximum;
  view.scale = view.facts.scale;
  const std::int32_t value = ParseValue(view, text, read, true);
  if (const std::string fault = RangeFault(view, value); !fault.empty()) UsageFailure(fault + ".");
  return value;
}

std::string FieldText(const DspBlock& block, std::size_t offset) {
  for (const DecodedField& field : DecodeBlock(block))
    if (field.offset == offset) return field.text;
  return {};
}

// The library describes no range for other names of a control; the field has one.
void CheckFieldRange(const std::string& name, std::int32_t value, const std::string& planned) {
  const bool is_switch = planned == "on" || planned == "off";
  const bool is_percent = planned.ends_with(" %");
  if ((is_switch && value != 0 && value != 1) || (is_percent && (value < 0 || value > 100)))
    UsageFailure("{} is outside the range of \"{}\", 0 to {}.", value, name, is_switch ? 1 : 100);
}

// The push of one property into the DSP.
class PropertyPush {
 public:
  PropertyPush(Context& context, const IntelArguments& arguments)
      : context_(context), arguments_(arguments), target_(context, arguments) {
    const auto place = FindProperty(kind_, name_);
    if (!place) UnknownProperty(context, target_.endpoint, name_);
    place_ = *place;
    number_ = ParseProperty(context, name_, arguments.value,
                            arguments.raw ? ReadRawValue : ReadTypedValue);
    value_.vt = VT_I4;
    value_.lVal = number_;
    Plan(target_.endpoint.CurrentMode());
  }

  PushOutcome Run() {
    const PushOutcome outcome = RunPush(target_.readback, plan_, [&] {
      if (mode_) target_.dsp.WriteControls(*mode_, "HPF", arguments_.set_default);
      return target_.dsp.PutProperty(name_, arguments_.set_default, value_);
    });
    if (FAILED(outcome.status) || FindBlock(outcome.blocks, place_.parameter) == nullptr)
      Refused(outcome);
    return outcome;
  }

  // What the DSP holds for the property, as text; empty if the driver cannot be read.
  std::string Held() {
    const DspBlock* planned = FindBlock(plan_.blocks, place_.parameter);
    if (planned == nullptr || !target_.readback.CanRead(kind_)) return {};
    const DspReadback::Answer answer = target_.readback.Read(*planned);
    return answer.block ? FieldText(*answer.block, place_.offset) : std::string();
  }

  const std::string& name() const noexcept { return name_; }
  std::int32_t number() const noexcept { return number_; }

 private:
  std::string Asked() const {
    return fmt::format("setting \"{}\" to {} in the Intel DSP", name_, number_);
  }

  // A control that depends on others gets them from the current mode: the object receives that
  // mode first and sends its filters.
  void Plan(std::optional<Mode> mode) {
    const std::uint8_t apply = arguments_.apply_flag();
    DspProperty property = PlanProperty(kind_, name_, value_, {}, apply, &target_.readback);
    if (mode && kind_ == kSkylakeDriver) {
      const ControlValueMap controls = IntelControls(*mode, kORVAPO_Cont_Public);
      DspProperty in_mode = PlanProperty(kind_, name_, value_, controls, apply, &target_.readback);
      if (property.plan.blocks != in_mode.plan.blocks) {
        plan_ = PlanMode(kind_, controls, "HPF", apply, &target_.readback);
        plan_.missing.clear();  // not what was asked for
        mode_ = std::move(mode);
      }
      property = std::move(in_mode);
    }
    plan_.driver = kind_;
    plan_.module = property.plan.module;
    for (DspBlock& block : property.plan.blocks) plan_.blocks.push_back(std::move(block));
    const DspBlock* planned = FindBlock(plan_.blocks, place_.parameter);
    if (planned == nullptr)
      throw Failure(kRefused, "{}: {}\n{}", Asked(),
                    FAILED(property.status) ? StatusText(property.status) : "",
                    property.reason.empty()
                        ? "The driver does not answer for its block."
                        : "The block cannot be made: " + Sentence(property.reason));
    if (!context_.catalog().Describe(name_).described)
      CheckFieldRange(name_, number_, FieldText(*planned, place_.offset));
  }

  // A reason of the component may end in a full stop of its own.
  static std::string Sentence(std::string reason) {
    if (!reason.ends_with('.')) reason += '.';
    return reason;
  }

  [[noreturn]] void Refused(const PushOutcome& outcome) const {
    std::string message = fmt::format(
        "{}: {}", Asked(), FAILED(outcome.status) ? StatusText(outcome.status) : "not taken");
    for (const DspDifference& difference : outcome.differences)
      if (!difference.reason.empty())
        message += fmt::format("\n  {}: {}", difference.block, difference.reason);
    throw Failure(kRefused, message + "\n-v shows what the driver answered.");
  }

  Context& context_;
  const IntelArguments& arguments_;
  IntelTarget target_;
  const std::string name_ = PropertyName(context_, target_, arguments_.property);
  const std::string kind_ = target_.dsp.Kind();
  DspPlace place_;
  std::int32_t number_ = 0;
  VARIANT value_{};
  std::optional<Mode> mode_;  // for the object, before the property
  DspPlan plan_;
};

void SetProperty(Context& context, const IntelArguments& arguments) {
  PropertyPush push(context, arguments);
  const PushOutcome outcome = push.Run();
  const std::string held = push.Held();
  if (outcome.differs()) context.exit_status = kDiffering;
  WarnOfDifferences(context, outcome);
  const std::string& name = push.name();
  const Json read = held.empty() ? Json() : Json(held);
  context.output.Result(
      {{"name", name},
       {"value", outcome.differs() ? read : Json(push.number())},
       {"sent", push.number()},
       {"held", read}},
      fmt::format("{} = {} ({})", name, ValueText(push.number(), context.catalog().FormOf(name)),
                  held.empty() ? "sent, not read back" : "the DSP holds " + held));
}

CLI::App& AddEqualizerCommand(CLI::App& intel, Context& context,
                              const std::shared_ptr<IntelArguments>& arguments) {
  CLI::App& peq =
      AddCommand(intel, context, arguments, PushEqualizer,
                 {"peq", "Send a parametric equaliser into a Broadwell DSP",
                  "orvctl dsp intel 0 peq both 100,3,0.7 1000,-2,1.4 8000,4,0.7",
                  "The first band is a low shelf, the last a high shelf.", "{status, verdict}"});
  peq.add_option("CHANNEL", arguments->channel, "left, right or both")
      ->required()
      ->check(OneOf({"left", "right", "both"}));
  peq.add_option("BAND", arguments->bands, "A band: frequency,gain,q in Hz and dB")->required();
  return peq;
}

}  // namespace

void AddIntelDspCommands(CLI::App& dsp, Context& context) {
  const auto arguments = std::make_shared<IntelArguments>();
  CLI::App& intel = AddGroup(dsp, {"intel", "Read and change the Intel DSP of an endpoint",
                                   "orvctl dsp intel 0 info\n  orvctl dsp intel 0 push"});
  intel.add_option("ENDPOINT", arguments->endpoint, kEndpointHelp)->required();
  AddCommand(
      intel, context, arguments, ShowInfo,
      {"info", "Show the driver, its interface version and its module", "orvctl dsp intel 0 info",
       "", "{kind, api_version, features, module_name, module_version, apo_version}"});

  CLI::App& push = AddCommand(
      intel, context, arguments, PushMode,
      {"push", "Send a mode's public controls into the DSP and verify them",
       "orvctl dsp intel 0 push --mode Movie/Internal",
       "What the driver took and holds is compared with the mode's controls, field by field. Exit "
       "status 3 if something differs or was not sent.",
       kPushJson});
  push.add_option("--mode", arguments->mode, kModeHelp);
  push.add_option("--tech", arguments->technology, "Only this part of the mode")
      ->check(OneOf({"HPF", "PEQLEFT", "PEQRIGHT", "PEQALL"}));

  CLI::App& file = AddCommand(
      intel, context, arguments, PushFile,
      {"file", "Send a configuration file's default mode into the DSP and verify it",
       "orvctl dsp intel 0 file 'C:\\ProgramData\\ORV Labs\\APO\\dsp_bring_up.xml'",
       "Paths with a drive letter are the machine's. Exit status as with push.", kPushJson});
  file.add_option("XML", arguments->file, "The configuration file")->required();

  CLI::App& get = AddCommand(
      intel, context, arguments, GetProperty,
      {"get", "Show one property as the DSP holds it",
       "orvctl dsp intel 0 get \"VQ3D-Process Enable\"", "", "{name, value, text, unit}"});
  CLI::App& set = AddCommand(
      intel, context, arguments, SetProperty,
      {"set", "Change one property in the DSP",
       "orvctl dsp intel 0 set \"VQ3D-Definition Level\" 60\n"
       "  orvctl dsp intel 0 set \"geq 1khz\" -3dB",
       "The driver's block is read, changed, sent back and read again; nothing is stored in the "
       "registry. A control that depends on others takes them from the current mode, whose "
       "filters are sent with it. Exit status 3 if the DSP holds another value than was sent.",
       "{name, value, sent, held}"});
  for (CLI::App* command : {&push, &file})
    command->add_flag(kLongOption, arguments->with_blocks, kPushLongHelp);
  for (CLI::App* command : {&get, &set})
    command->add_option("PROPERTY", arguments->property, "The control's name, or any part of it")
        ->required();
  set.add_option("VALUE", arguments->value, "As \"orvctl set\" takes it, but for steps and toggle")
      ->required();
  set.add_flag("--raw", arguments->raw, kRawHelp);

  CLI::App& peq = AddEqualizerCommand(intel, context, arguments);
  for (CLI::App* command : {&push, &file, &get, &set, &peq})
    command->add_flag("--default", arguments->set_default, kDspDefaultHelp);
}

}  // namespace orv::cli
