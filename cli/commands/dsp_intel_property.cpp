// dsp intel get, dsp intel set
#include <algorithm>

#include "cli/client/control_view.h"
#include "cli/client/dsp_objects.h"
#include "cli/commands/commands.h"
#include "cli/dsp/push.h"
#include "cli/show/failure.h"
#include "cli/show/select.h"
#include "platform/driver_names.h"

namespace orv::cli {
namespace {

struct PropertyArguments {
  bool set_default = false;
  std::string property;
  std::string value;
};

[[noreturn]] void UnknownProperty(Context& context, const Endpoint& endpoint,
                                  const std::string& name) {
  if (context.catalog().Describe(name).described)
    UsageFailure("this DSP does not take \"" + name + "\" by itself; push a mode.");
  UsageFailure("no property named \"" + name + "\"." +
               Suggestion(context.catalog().DescribedNames(), name) +
               "\nWhat lists the names: " + CommandLine("controls " + endpoint.number()));
}

void GetProperty(Context& context, const std::string& endpoint_text,
                 const PropertyArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
  const IntelDsp dsp(endpoint);
  const std::string& name = arguments.property;
  std::int32_t value = 0;
  const HRESULT status = dsp.GetProperty(name, arguments.set_default, value);
  if (FAILED(status) && !FindProperty(dsp.Kind(), name) &&
      !context.catalog().Describe(name).described)
    UnknownProperty(context, endpoint, name);
  const std::string asked = "reading \"" + name + "\" from the Intel DSP";
  if (status == E_NOTIMPL)
    throw Failure(kRefused,
                  asked + ": 0x80004001 (a property that the Intel DSP does not have)\n" +
                      (dsp.Kind() == kSkylakeDriver
                           ? "Of this driver only \"VQ3D-Process Enable\" can be read."
                           : "Of this driver only some switches and levels can be read."));
  Require(status, asked, "-v shows what the driver answered.");
  DspReadback readback(context.session().machine(), endpoint.id());
  if (value == 0 && dsp.Kind() == kSkylakeDriver && !readback.ReadsSwitch())
    throw Failure(kRefused,
                  asked + ": the driver does not answer.\n-v shows what the component met.");
  if (context.output.json()) return context.output.Value({{"name", name}, {"value", value}});
  context.output.Line(name + " = " + std::to_string(value));
}

// A number, or a choice of a control that the technology library describes.
std::int32_t ParseProperty(Context& context, const std::string& name, const std::string& text) {
  ControlView view;
  view.name = name;
  view.facts = context.catalog().Describe(name);
  view.minimum = view.facts.minimum;
  view.maximum = view.facts.maximum;
  view.scale = view.facts.scale;
  const std::int32_t value = ParseValue(view, text, true);
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
    UsageFailure(std::to_string(value) + " is outside the range of \"" + name + "\", 0 to " +
                 (is_switch ? "1." : "100."));
}

// One property on its way into the DSP.
class PropertyPush {
 public:
  PropertyPush(Context& context, const Endpoint& endpoint, const PropertyArguments& arguments)
      : context_(context),
        name_(arguments.property),
        set_default_(arguments.set_default),
        dsp_(endpoint),
        kind_(dsp_.Kind()),
        readback_(context.session().machine(), endpoint.id()) {
    const auto place = FindProperty(kind_, name_);
    if (!place) UnknownProperty(context, endpoint, name_);
    place_ = *place;
    number_ = ParseProperty(context, name_, arguments.value);
    value_.vt = VT_I4;
    value_.lVal = number_;
    Plan(endpoint.CurrentMode());
  }

  PushOutcome Run() {
    const PushOutcome outcome = RunPush(readback_, plan_, [&] {
      if (mode_) dsp_.WriteControls(*mode_, "HPF", set_default_);
      return dsp_.PutProperty(name_, set_default_, value_);
    });
    if (FAILED(outcome.status) || FindBlock(outcome.blocks, place_.parameter) == nullptr)
      Refused(outcome);
    return outcome;
  }

  // What the DSP holds for the property, as text; empty if the driver cannot be read.
  std::string Held() {
    const DspBlock* planned = FindBlock(plan_.blocks, place_.parameter);
    if (planned == nullptr || !readback_.CanRead(kind_)) return {};
    const DspReadback::Answer answer = readback_.Read(*planned);
    return answer.block ? FieldText(*answer.block, place_.offset) : std::string();
  }

  std::int32_t number() const noexcept { return number_; }

 private:
  std::string Asked() const {
    return "setting \"" + name_ + "\" to " + std::to_string(number_) + " in the Intel DSP";
  }

  // A control that depends on others gets them from the current mode: the object is handed that
  // mode, and sends its filters.
  void Plan(std::optional<Mode> mode) {
    const std::uint8_t apply = set_default_ ? 1 : 0;
    DspProperty property = PlanProperty(kind_, name_, value_, {}, apply, &readback_);
    if (mode && kind_ == kSkylakeDriver) {
      const ControlValueMap controls = IntelControls(*mode, kORVAPO_Cont_Public);
      DspProperty in_mode = PlanProperty(kind_, name_, value_, controls, apply, &readback_);
      if (!Equal(property.plan, in_mode.plan)) {
        plan_ = PlanMode(kind_, controls, "HPF", apply, &readback_);
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
      throw Failure(kRefused,
                    Asked() + ": " + (FAILED(property.status) ? StatusText(property.status) : "") +
                        (property.reason.empty()
                             ? "\nThe driver does not answer for its block."
                             : "\nThe block cannot be made: " + Sentence(property.reason)));
    if (!context_.catalog().Describe(name_).described)
      CheckFieldRange(name_, number_, FieldText(*planned, place_.offset));
  }

  // A reason of the component may end in a full stop of its own.
  static std::string Sentence(std::string reason) {
    if (!reason.ends_with('.')) reason += '.';
    return reason;
  }

  static bool Equal(const DspPlan& a, const DspPlan& b) {
    return std::equal(a.blocks.begin(), a.blocks.end(), b.blocks.begin(), b.blocks.end(),
                      [](const DspBlock& x, const DspBlock& y) {
                        return x.parameter == y.parameter && x.bytes == y.bytes;
                      });
  }

  [[noreturn]] void Refused(const PushOutcome& outcome) const {
    std::string message = Asked() + ": ";
    message += FAILED(outcome.status) ? StatusText(outcome.status) : "not taken";
    for (const DspDifference& difference : outcome.differences)
      if (!difference.reason.empty())
        message += "\n  " + difference.block + ": " + difference.reason;
    throw Failure(kRefused, message + "\n-v shows what the driver answered.");
  }

  Context& context_;
  const std::string& name_;
  bool set_default_;
  IntelDsp dsp_;
  std::string kind_;
  DspReadback readback_;
  DspPlace place_;
  std::int32_t number_ = 0;
  VARIANT value_{};
  std::optional<Mode> mode_;  // handed to the object first
  DspPlan plan_;
};

void SetProperty(Context& context, const std::string& endpoint_text,
                 const PropertyArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
  PropertyPush push(context, endpoint, arguments);
  const PushOutcome outcome = push.Run();
  const std::string held = push.Held();
  if (outcome.differs()) context.exit_status = kDiffering;
  WarnOfDifferences(context, outcome);
  const std::string& name = arguments.property;
  if (context.output.json()) {
    const Json read = held.empty() ? Json() : Json(held);
    return context.output.Value({{"name", name},
                                 {"value", outcome.differs() ? read : Json(push.number())},
                                 {"sent", push.number()},
                                 {"held", read}});
  }
  context.output.Line(name + " = " + std::to_string(push.number()) +
                      (held.empty() ? " (sent, not read back)" : " (the DSP holds " + held + ")"));
}

}  // namespace

void AddIntelPropertyCommands(CLI::App& intel, Context& context, const std::string& endpoint) {
  const auto arguments = std::make_shared<PropertyArguments>();
  CLI::App* get = AddCommand(intel, "get", "One property as the DSP holds it",
                             "orvctl dsp intel 0 get \"VQ3D-Process Enable\"");
  CLI::App* set =
      AddCommand(intel, "set", "One property of the DSP",
                 "orvctl dsp intel 0 set \"VQ3D-Definition Level\" 60",
                 "The driver's block is read, changed, sent back and read again; nothing is stored "
                 "in the\nregistry. A control that depends on others takes them from the current "
                 "mode, whose filters\nare sent with it. Exit status 3 if the DSP holds something "
                 "else than was sent.");
  for (CLI::App* command : {get, set}) {
    command->add_option("PROPERTY", arguments->property, kControlHelp)->required();
    command->add_flag("--default", arguments->set_default, kDspDefaultHelp);
  }
  set->add_option("VALUE", arguments->value,
                  "A whole number in the control's own steps, or one of its choices")
      ->required();
  get->callback([&context, &endpoint, arguments] { GetProperty(context, endpoint, *arguments); });
  set->callback([&context, &endpoint, arguments] { SetProperty(context, endpoint, *arguments); });
}

}  // namespace orv::cli
