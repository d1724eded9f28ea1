// tour: one request from end to end, on a copy of the sample machine.
#include <algorithm>
#include <map>

#include "cli/client/control_view.h"
#include "cli/client/dsp_objects.h"
#include "cli/client/host.h"
#include "cli/client/registry.h"
#include "cli/commands/commands.h"
#include "cli/commands/pages.h"
#include "cli/dsp/push.h"
#include "cli/offline/image_json.h"
#include "cli/offline/machine_folder.h"
#include "cli/show/names.h"
#include "cli/show/scale.h"

namespace orv::cli {
namespace {

constexpr char kChanged[] = "VQ3D-DPHD Level";

// A few controls of each kind, in name order.
std::vector<ControlView> Sampled(const std::vector<ControlView>& views) {
  constexpr std::size_t kMost = 8;
  constexpr std::size_t kMostPerScale = 3;
  std::map<ORV_QVT_SCALE, std::size_t> sampled;
  std::vector<ControlView> chosen;
  for (const ControlView& view : views)
    if (chosen.size() < kMost && sampled[view.scale]++ < kMostPerScale) chosen.push_back(view);
  return chosen;
}

// One record of an image: its place and its entry.
struct Record {
  std::size_t offset = 0;
  std::size_t size = 0;
  Json entry;
};

std::optional<Record> FindRecord(const std::optional<ImageBytes>& image, const std::string& name) {
  if (!image) return std::nullopt;
  ORVPropertyList list;
  DecodeImage(*image, ImageReading::Replace, list);
  const auto entry = std::ranges::find_if(
      list, [&](const ORVPropertyEntry& each) { return Utf8FromName(each.name) == name; });
  if (entry == list.end()) return std::nullopt;
  ImageBytes before;
  ImageBytes bytes;
  EncodeImage({list.begin(), entry}, before);
  EncodeImage({*entry}, bytes);
  return Record{before.size(), bytes.size(), EntriesToJson({*entry})[0]};
}

std::string HexLines(const ImageBytes& image, std::size_t offset, std::size_t size) {
  constexpr std::size_t kBytesPerLine = 16;
  std::string text;
  const std::size_t end = std::min(image.size(), offset + size);
  for (std::size_t line = offset; line < end; line += kBytesPerLine) {
    const std::vector bytes(
        image.begin() + static_cast<std::ptrdiff_t>(line),
        image.begin() + static_cast<std::ptrdiff_t>(std::min(end, line + kBytesPerLine)));
    std::string shown(bytes.begin(), bytes.end());
    for (char& c : shown)
      if (c < 0x20 || c >= 0x7F) c = '.';
    text += fmt::format("   {:06x}  {:<{}}  {}\n", line,
                        fmt::format("{:02x}", fmt::join(bytes, " ")), 3 * kBytesPerLine - 1, shown);
  }
  return text;
}

class Tour {
 public:
  Tour(Context& context, const std::vector<Endpoint>& endpoints)
      : context_(context), endpoints_(endpoints) {}

  void Run() {
    const Mode mode = context_.CurrentMode(endpoint_);
    ShowMachine();
    ShowControls(mode);
    ChangeControl(mode);
    SwitchMode();
    ShowRegistry(mode);
    Push(mode);
  }

 private:
  void Title(const std::string& text) {
    output_.Line("");
    output_.Line(output_.Painted(fmt::format("{}. {}", ++step_, text), ansi::kBold));
  }
  void Print(const std::string& text) {
    output_.Line(Folded("   " + Printable(text), kPageColumns));
  }
  void Hint(const std::string& command) {
    output_.Line(output_.Painted("   $ " + command, ansi::kDim));
  }
  std::optional<ImageBytes> Image(const std::string& value) {
    return ReadImage(context_.session().machine(), endpoint_.RegistryPath(), value);
  }
  std::vector<ControlView> Views(const Mode& mode) {
    return ViewControls(context_.catalog(), endpoint_, mode, kORVAPO_Cont_Public);
  }

  void ShowMachine() {
    Title("The endpoints");
    Print("The component examines every active endpoint and keeps those it can control.");
    output_.Show(EndpointsTable(endpoints_, false), 3);
    Hint("orvctl endpoints");
    Title("Operating modes");
    Print(endpoint_.name() + " has these; the star marks the current one.");
    output_.Show(ModesTable(endpoint_), 3);
    Hint("orvctl modes 0");
  }

  void ShowControls(const Mode& mode) {
    const std::vector<ControlView> views = Views(mode);
    const std::vector<ControlView> sampled = Sampled(views);
    Title("Controls of the current mode");
    Print(
        fmt::format("What clients may change in {}. The technology library describes range, "
                    "scale and choices.",
                    ModeLabel(mode.name())));
    Table table({{"CONTROL"}, {"VALUE", Align::Right}, {"MEANS"}, {"SCALE"}});
    for (const ControlView& view : sampled) {
      table.Add({Cell(view.name), view.value ? std::to_string(*view.value) : "-",
                 Cell(view.text, ansi::kAccent), Cell(ScaleWord(view.scale), ansi::kDim)});
    }
    output_.Show(table, 3);
    if (views.size() > sampled.size())
      Print(fmt::format("... and {} more.", views.size() - sampled.size()));
    Hint("orvctl controls 0");
  }

  void ChangeControl(const Mode& mode) {
    constexpr std::int32_t kOther = 90;
    const std::optional<Control> control = mode.Controls(kORVAPO_Cont_Public).Find(kChanged);
    if (!control) throw Failure(kRefused, "{} has no control \"{}\".", mode.name(), kChanged);
    const std::optional<Record> before = FindRecord(Image(mode.name()), kChanged);
    const std::string from = FindView(Views(mode), kChanged)->text;
    control->SetValue(kOther);
    Title("One control changed");
    const ControlInfo info = control->Info();
    Print(fmt::format("\"{}\" goes from {} to {} (its range is {} to {}).", kChanged, from,
                      FindView(Views(mode), kChanged)->text, info.minimum, info.maximum));
    Hint(fmt::format("orvctl set 0 \"{}\" {}", kChanged, kOther));
    ShowImage(mode, before);
  }

  void ShowImage(const Mode& mode, const std::optional<Record>& before) {
    constexpr std::size_t kHeadBytes = 48;
    const std::optional<ImageBytes> image = Image(mode.name());
    const std::optional<Record> after = FindRecord(image, kChanged);
    if (!after) throw Failure(kRefused, "the change of \"{}\" was not stored.", kChanged);
    Title("What the processing object reads");
    Print(fmt::format("All public values of the mode are one binary image of {} bytes. It begins:",
                      image->size()));
    output_.Raw(HexLines(*image, 0, kHeadBytes));
    Print("The record of the changed control, name and text:");
    output_.Raw(HexLines(*image, after->offset, after->size));
    Table table({{""}, {"ENTRY"}, {"KIND"}, {"VALUE"}});
    if (before)
      table.Add({"before", kChanged, before->entry["kind"].get<std::string>(),
                 before->entry["value"].dump()});
    else
      table.Add({"before", kChanged, "", "nothing stored: the configuration's value"});
    table.Add({"after", kChanged, after->entry["kind"].get<std::string>(),
               Cell(after->entry["value"].dump(), ansi::kAccent)});
    output_.Show(table, 3);
    Hint("orvctl image decode --endpoint 0");
  }

  void SwitchMode() {
    Title("Another mode, and back");
    const Mode other = context_.SelectMode(endpoint_, "Game/Internal");
    endpoint_.SetCurrentMode(other);
    Print("Switched to " + ModeLabel(context_.CurrentMode(endpoint_).name()) + ".");
    Hint("orvctl mode 0 " + ModeLabel(other.name()));
    endpoint_.SetDefaultMode();
    Print("Reset to the configuration's default: " +
          ModeLabel(context_.CurrentMode(endpoint_).name()) + ".");
    Hint("orvctl mode 0 --default");
  }

  void ShowRegistry(const Mode& mode) {
    Title("The stored values");
    Print("HKEY_LOCAL_MACHINE\\" + endpoint_.RegistryPath());
    Table table({{"VALUE"}, {"BYTES", Align::Right}, {"HOLDS"}});
    for (const auto& [value, holds] :
         {std::pair(mode.name(), "the mode's public values"),
          std::pair(std::string(CurrentModeValue()), "the current mode")})
      if (const auto image = Image(value)) table.Add({value, std::to_string(image->size()), holds});
    output_.Show(table, 3);
    Print("A write is complete when it is stored: the processing object reads it from this key.");
  }

  void Push(const Mode& mode) {
    Title("Into the DSP");
    const IntelDsp dsp(endpoint_);
    DspReadback readback(context_.session().machine(), endpoint_.id());
    const DspPlan plan =
        PlanMode(dsp.Kind(), IntelControls(mode, kORVAPO_Cont_Public), "", 0, &readback);
    const PushOutcome push =
        RunPush(readback, plan, [&] { return dsp.WriteControls(mode, {}, false); });
    SettlePush(context_, push, "pushing " + mode.name() + " into the DSP",
               "To find the reason: " + CommandLine("doctor"));
    Print(
        fmt::format("This laptop's DSP takes the controls as fixed-point numbers. The {} driver "
                    "received {} with the values of {}.",
                    dsp.Kind(), Counted(push.blocks.size(), "block"), ModeLabel(mode.name())));
    ShowBlock(push);
    if (push.differs())
      ShowPush(context_, push, true);
    else
      Print(VerdictText(push));
    Hint("orvctl dsp intel 0 push --mode " + ModeLabel(mode.name()));
  }

  // The block of the changed control, with the values that the DSP holds.
  void ShowBlock(const PushOutcome& push) {
    for (const DspBlock& block : push.blocks) {
      const std::vector<DecodedField> fields = DecodeBlock(block);
      if (std::ranges::find(fields, kChanged, &DecodedField::control) == fields.end()) continue;
      Print(fmt::format("\"{}\" is a field of {}, {} bytes:", kChanged, BlockName(block),
                        block.bytes.size()));
      Table table = FieldTable();
      for (const DecodedField& field : fields)
        if (IsControl(field)) AddField(table, field, field.control == kChanged);
      return output_.Show(table, 3);
    }
    throw Failure(kDiffering, "no block that was sent holds \"{}\".", kChanged);
  }

  Context& context_;
  Output& output_ = context_.output;
  const std::vector<Endpoint>& endpoints_;
  const Endpoint& endpoint_ = endpoints_.front();
  int step_ = 0;
};

void RunTour(Context& context) {
  Output& output = context.output;
  if (output.json()) UsageFailure("the tour is text for a reader; other commands take --json.");
  if (!context.session_options.machine.empty())
    UsageFailure("the tour is shown on a copy of the sample {}; leave out --machine.",
                 kDefaultSample);
  // A request to end the program waits for the end of the tour, so that the copy is removed.
  Event stop(Event::Kind::ManualReset);
  const StopOnSignal signals(stop, StopOnSignal::Ordinary::None);
  const TemporaryMachine machine(SampleMachinesFolder() / kDefaultSample);
  Context on_copy(output);  // destroyed before the copy
  on_copy.session_options = context.session_options;
  on_copy.session_options.machine = machine.folder();
  const std::vector<Endpoint> endpoints = on_copy.Endpoints();
  if (endpoints.empty()) throw Failure(kRefused, "the sample machine has no endpoint.");
  output.Line(output.Painted("One request, from end to end", ansi::kBold));
  output.Line(fmt::format("On a fresh copy of the sample machine {}.", kDefaultSample));
  Tour(on_copy, endpoints).Run();
}

}  // namespace

void AddTourCommand(CLI::App& app, Context& context) {
  AddCommand(app, {"tour", "Show one request step by step, on a copy of the sample machine",
                   "orvctl tour"})
      .callback([&context] { RunTour(context); });
}

}  // namespace orv::cli
