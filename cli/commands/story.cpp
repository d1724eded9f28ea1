// story: one request from end to end, on a copy of the sample machine.
#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

#include "cli/client/control_view.h"
#include "cli/client/dsp_objects.h"
#include "cli/client/host.h"
#include "cli/client/registry.h"
#include "cli/commands/commands.h"
#include "cli/dsp/push.h"
#include "cli/offline/image_json.h"
#include "cli/offline/machine_folder.h"
#include "cli/show/failure.h"
#include "cli/show/names.h"
#include "cli/show/scale.h"

namespace orv::cli {
namespace {

constexpr std::size_t kShownControls = 8;
constexpr std::size_t kShownPerScale = 3;
constexpr std::size_t kBytesPerLine = 16;
constexpr std::size_t kHeadBytes = 3 * kBytesPerLine;

// A few of each kind, in name order.
std::vector<ControlView> Sampled(const std::vector<ControlView>& views) {
  std::map<ORV_QVT_SCALE, std::size_t> shown;
  std::vector<ControlView> chosen;
  for (const ControlView& view : views) {
    if (chosen.size() < kShownControls && shown[view.scale]++ < kShownPerScale)
      chosen.push_back(view);
  }
  return chosen;
}

// A number that can move: the bass level when there is one.
const ControlView* Changeable(const std::vector<ControlView>& views) {
  if (const ControlView* bass = FindView(views, "VQ3D-DPHD Level")) return bass;
  const auto found = std::find_if(views.begin(), views.end(), [](const ControlView& view) {
    return view.value && view.facts.choices.empty() && view.minimum < view.maximum;
  });
  return found != views.end() ? &*found : nullptr;
}

std::int32_t OtherValue(const ControlView& view) {
  const std::int32_t step = std::max(1, (view.maximum - view.minimum) / 4);
  return *view.value <= view.maximum - step ? *view.value + step : view.minimum;
}

// One record of an image: where it lies and what it says.
struct Record {
  std::size_t offset = 0;
  std::size_t size = 0;
  std::string kind;
  std::string value;
};

std::optional<Record> FindRecord(const ImageBytes& image, const std::string& name) {
  ORVPropertyList list;
  DecodeImage(image, ImageReading::Replace, list);
  ORVPropertyList before;
  for (const ORVPropertyEntry& entry : list) {
    if (Utf8FromName(entry.name) != name) {
      before.push_back(entry);
      continue;
    }
    ImageBytes bytes;
    Record record;
    EncodeImage(before, bytes);
    record.offset = bytes.size();
    EncodeImage({entry}, bytes);
    record.size = bytes.size();
    const Json json = EntriesToJson({entry});
    record.kind = json[0]["kind"].get<std::string>();
    record.value = json[0]["value"].dump();
    return record;
  }
  return std::nullopt;
}

std::string HexLines(const ImageBytes& image, std::size_t offset, std::size_t size) {
  std::string text;
  const std::size_t end = std::min(image.size(), offset + size);
  for (std::size_t line = offset; line < end; line += kBytesPerLine) {
    char piece[32];
    std::snprintf(piece, sizeof piece, "   %06zx ", line);
    text += piece;
    std::string shown;
    for (std::size_t i = line; i < line + kBytesPerLine; ++i) {
      if (i >= end) {
        text += "   ";
        continue;
      }
      std::snprintf(piece, sizeof piece, " %02x", static_cast<unsigned>(image[i]));
      text += piece;
      shown += image[i] >= 0x20 && image[i] < 0x7F ? static_cast<char>(image[i]) : '.';
    }
    text += "  " + shown + "\n";
  }
  return text;
}

class Story {
 public:
  Story(Context& context, const Endpoint& endpoint)
      : context_(context), output_(context.output), endpoint_(endpoint) {}

  void TellMachine(const std::vector<Endpoint>& endpoints) {
    Title("What is there");
    Say("The component looks at every active endpoint and keeps those it can control.");
    output_.Show(EndpointsTable(endpoints), 3);
    Hint("orvctl endpoints");
  }
  void TellModes() {
    Title("Operating modes");
    Say(endpoint_.name() + " knows these; the star marks the one in force.");
    output_.Show(ModesTable(endpoint_), 3);
    Hint("orvctl modes 0");
  }
  void TellControls(const Mode& mode);
  void TellChange(const Mode& mode);
  void TellSwitch(const Mode& mode);
  void TellRegistry(const Mode& mode);
  void TellPush(const Mode& mode);

 private:
  void Title(const std::string& text) {
    output_.Line("");
    output_.Line(output_.Painted(std::to_string(++step_) + ". " + text, ansi::kBold));
  }
  void Say(const std::string& text) { output_.Line("   " + Printable(text)); }
  void Hint(const std::string& command) {
    output_.Line(output_.Painted("   $ " + command, ansi::kDim));
  }
  void TellImage(const Mode& mode, const std::string& name, const std::optional<Record>& before);
  void TellBlock(const PushOutcome& push);

  Context& context_;
  Output& output_;
  const Endpoint& endpoint_;
  int step_ = 0;
  std::string changed_;  // the control
};

void Story::TellControls(const Mode& mode) {
  const auto views = ViewControls(context_.catalog(), endpoint_, mode, kORVAPO_Cont_Public);
  const std::vector<ControlView> sampled = Sampled(views);
  Title("Controls of the current mode");
  Say("What clients may change in " + mode.name() +
      ". The technology library tells range, scale "
      "and choices.");
  Table table({{"CONTROL"}, {"VALUE", Align::Right}, {"MEANS"}, {"SCALE"}});
  for (const ControlView& view : sampled) {
    table.Add({Cell(view.name), view.value ? std::to_string(*view.value) : "-",
               Cell(view.text, ansi::kAccent), Cell(ScaleWord(view.scale), ansi::kDim)});
  }
  output_.Show(table, 3);
  if (views.size() > sampled.size())
    Say("... and " + std::to_string(views.size() - sampled.size()) + " more.");
  Hint("orvctl controls 0");
}

void Story::TellImage(const Mode& mode, const std::string& name,
                      const std::optional<Record>& before) {
  const auto image = ReadImage(context_.session().machine(), endpoint_.RegistryPath(), mode.name());
  const std::optional<Record> after = image ? FindRecord(*image, name) : std::nullopt;
  if (!after) throw Failure(kRefused, "the change of \"" + name + "\" was not stored.");
  Title("What the processing object reads");
  Say("All public values of the mode are one binary image of " + std::to_string(image->size()) +
      " bytes. It begins:");
  output_.Raw(HexLines(*image, 0, kHeadBytes));
  Say("The record of the changed control, name and text:");
  output_.Raw(HexLines(*image, after->offset, after->size));
  Table table({{""}, {"ENTRY"}, {"KIND"}, {"VALUE"}});
  if (before) {
    table.Add({"before", name, before->kind, before->value});
  } else {
    table.Add({"before", name, "", "nothing stored: the configuration's value"});
  }
  table.Add({"after", name, after->kind, Cell(after->value, ansi::kAccent)});
  output_.Show(table, 3);
  Hint("orvctl image decode --endpoint 0");
}

void Story::TellChange(const Mode& mode) {
  const auto views = ViewControls(context_.catalog(), endpoint_, mode, kORVAPO_Cont_Public);
  const ControlView* view = Changeable(views);
  if (view == nullptr)
    throw Failure(kRefused, mode.name() + " has no control that can be changed.");
  const auto image = ReadImage(context_.session().machine(), endpoint_.RegistryPath(), mode.name());
  const std::optional<Record> before = image ? FindRecord(*image, view->name) : std::nullopt;

  const std::int32_t value = OtherValue(*view);
  const std::optional<Control> control = mode.Controls(kORVAPO_Cont_Public).Find(view->name);
  if (control) control->SetValue(value);
  const auto now = ViewControls(context_.catalog(), endpoint_, mode, kORVAPO_Cont_Public);
  changed_ = view->name;
  Title("One control changed");
  Say("\"" + view->name + "\" goes from " + view->text + " to " + FindView(now, view->name)->text +
      " (its range is " + std::to_string(view->minimum) + " to " + std::to_string(view->maximum) +
      ").");
  Hint("orvctl set 0 \"" + view->name + "\" " + std::to_string(value));
  TellImage(mode, view->name, before);
}

void Story::TellSwitch(const Mode& mode) {
  Title("Another mode, and back");
  const std::vector<Mode> modes = endpoint_.Modes();
  const auto current = std::ranges::find(modes, mode.name(), &Mode::name);
  // Two places on: the first mode is the default in most configurations, and the way back should
  // show.
  const auto position = static_cast<std::size_t>(current - modes.begin());
  const Mode& other = modes[(position + 2) % modes.size()];
  endpoint_.SetCurrentMode(other);
  Say("Switched to " + context_.CurrentMode(endpoint_).name() + ".");
  Hint("orvctl mode 0 " + other.name());
  endpoint_.SetDefaultMode();
  Say("Reset to the configuration's default: " + context_.CurrentMode(endpoint_).name() + ".");
  Hint("orvctl mode 0 --default");
}

void Story::TellRegistry(const Mode& mode) {
  Title("Where it lies");
  Say("HKEY_LOCAL_MACHINE\\" + endpoint_.RegistryPath());
  Table table({{"VALUE"}, {"BYTES", Align::Right}, {"HOLDS"}});
  const std::array<std::pair<std::string, const char*>, 2> values = {
      {{mode.name(), "the mode's public values"}, {CurrentModeValue(), "the current mode"}}};
  for (const auto& [name, holds] : values) {
    const auto image = ReadImage(context_.session().machine(), endpoint_.RegistryPath(), name);
    if (image) table.Add({name, std::to_string(image->size()), holds});
  }
  output_.Show(table, 3);
  Say("A write is complete when it lies there: the processing object reads it from this key.");
}

// The block in which the DSP holds the control, as it holds it.
void Story::TellBlock(const PushOutcome& push) {
  for (const DspBlock& block : push.blocks) {
    const std::vector<DecodedField> fields = DecodeBlock(block);
    if (std::ranges::find(fields, changed_, &DecodedField::control) == fields.end()) continue;
    Say("\"" + changed_ + "\" is a field of " + BlockName(block) + ", " +
        std::to_string(block.bytes.size()) + " bytes:");
    Table table = FieldTable();
    for (const DecodedField& field : fields)
      if (IsControl(field)) AddField(table, field, field.control == changed_);
    output_.Show(table, 3);
    return;
  }
  throw Failure(kDiffering, "no block that was sent holds \"" + changed_ + "\".");
}

void Story::TellPush(const Mode& mode) {
  Title("Into the DSP");
  const IntelDsp dsp(endpoint_);
  DspReadback readback(context_.session().machine(), endpoint_.id());
  const DspPlan plan =
      PlanMode(dsp.Kind(), IntelControls(mode, kORVAPO_Cont_Public), "", 0, &readback);
  const PushOutcome push =
      RunPush(readback, plan, [&] { return dsp.WriteControls(mode, {}, false); });
  SettlePush(context_, push, "pushing " + mode.name() + " into the DSP",
             "What looks for the reason: " + CommandLine("doctor"));
  Say("This laptop's DSP takes the controls as fixed-point numbers. The " + dsp.Kind() +
      " driver received " + Counted(push.blocks.size(), "block") + " with the values of " +
      mode.name() + ".");
  TellBlock(push);
  if (push.differs()) {
    ShowPush(context_, push);
  } else {
    Say(VerdictText(push));
  }
  Hint("orvctl dsp intel 0 push --mode " + mode.name());
}

void Tell(Context& context) {
  if (context.output.json()) UsageFailure("the story is for people; other commands take --json.");
  const TemporaryMachine machine(SampleMachinesFolder() / kDefaultSample);
  Context told(context.output);  // on the copy; gone before the copy is
  told.session_options = context.session_options;
  told.session_options.machine = machine.folder();

  const std::vector<Endpoint> endpoints = told.Endpoints();
  if (endpoints.empty()) throw Failure(kRefused, "the sample machine has no endpoint.");
  const Endpoint& endpoint = endpoints.front();
  const Mode mode = told.CurrentMode(endpoint);
  context.output.Line(context.output.Painted("One request, from end to end", ansi::kBold));
  context.output.Line(std::string("On a fresh copy of the sample machine ") + kDefaultSample + ".");
  Story story(told, endpoint);
  story.TellMachine(endpoints);
  story.TellModes();
  story.TellControls(mode);
  story.TellChange(mode);
  story.TellSwitch(mode);
  story.TellRegistry(mode);
  story.TellPush(mode);
}

}  // namespace

void AddStoryCommand(CLI::App& app, Context& context) {
  AddCommand(app, "story", "One request told step by step, on a copy of the sample machine",
             "orvctl story")
      ->callback([&context] { Tell(context); });
}

}  // namespace orv::cli
