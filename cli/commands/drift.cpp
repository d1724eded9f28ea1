// drift
#include <algorithm>
#include <map>

#include "cli/client/control_view.h"
#include "cli/client/dsp_objects.h"
#include "cli/commands/commands.h"
#include "cli/dsp/plan.h"
#include "cli/show/names.h"
#include "platform/driver_names.h"

namespace orv::cli {
namespace {

constexpr CommandText kFindDriftText = {
    "drift", "Show where defaults, the registry and the DSP differ",
    "orvctl drift 0\n  orvctl --json drift 0 --mode Movie/Internal",
    "Compares control by control. The DSP holds one mode and is compared with the current one. The "
    "value of a field is shown as the control's if it is the registry's or the default, else as "
    "the field's text. A real machine's DSP cannot be read. Exit status 3 if something differs.",
    "an array of {mode, name, default, registry, dsp}"};

// The value of a control in one place; empty if the place does not hold the control.
struct Holding {
  Json value;  // null, a control's integer, or a text
  std::string text;

  Holding() = default;
  Holding(const Json& held, const std::string& shown) : value(held), text(shown) {}
  explicit Holding(const std::string& held) : text(held) {
    if (!held.empty()) value = held;
  }
  explicit Holding(const ControlView* view) {
    if (view == nullptr) return;
    value = view->numeric ? Json(*view->value) : Json(view->text);
    text = view->text;
  }
};

struct Drift {
  std::string mode;
  std::string name;
  Holding by_default;
  Holding registry;
  Holding dsp;
};

// The fields of a simulated DSP that are controls, compared with the mode's values in the registry.
class DspFields {
 public:
  DspFields(Machine& machine, const Endpoint& endpoint, const Mode& mode)
      : mode_(mode), driver_(FindDriver(endpoint)), readback_(machine, endpoint.id()) {
    if (!readback_.simulated()) driver_.clear();
    if (!driver_.empty()) Compare(Plan(kORVAPO_Cont_Public), Plan(kORVAPO_Cont_Default));
  }

  const std::string& driver() const noexcept { return driver_; }

  // What the DSP holds for a control that has a field; empty otherwise.
  Holding Find(const ControlView& registry, const ControlView* by_default) const {
    const auto [begin, end] = places_.equal_range(registry.display);
    if (begin == end) return {};
    const auto differing = std::find_if(begin, end, [](const auto& entry) {
      return entry.second.held.value != entry.second.registry;
    });
    if (differing == end) return Holding(&registry);
    const Place& place = differing->second;
    if (by_default != nullptr && place.by_default == place.held.value) return Holding(by_default);
    return {place.held.text, place.held.text};
  }

  // Differences that belong to no control: blocks that cannot be compared, with the reason, blocks
  // whose other words differ, and the module's status.
  std::vector<Drift> Others() const {
    std::vector<Drift> drifts = reasons_;
    for (const auto& [block, count] : words_) {
      if (count != 0)
        drifts.push_back({mode_.name(),
                          block + ": coefficients",
                          {},
                          {},
                          Holding(fmt::format("{} differ", count))});
    }
    return drifts;
  }

 private:
  struct Place {
    DecodedField held;
    std::int64_t registry = 0;
    std::optional<std::int64_t> by_default;
  };

  DspPlan Plan(ORVAPOControlType list) {
    if (driver_ == kQualcommDriver) return PlanQualcommMode(DspControls(driver_, mode_, list), 0);
    return PlanMode(driver_, IntelControls(mode_, list), "", 0, &readback_);
  }

  void Compare(const DspPlan& planned, const DspPlan& defaults) {
    for (const DspPlan::Gap& gap : planned.missing)
      AddReason(BlockName(gap.block), "cannot be sent: " + gap.reason, "");
    std::size_t received = 0;
    for (const DspBlock& block : planned.blocks) {
      const DspReadback::Answer answer = readback_.Read(block);
      received += readback_.HasReceived(block);
      if (answer.block)
        Add(block, FindBlock(defaults.blocks, block.parameter), *answer.block);
      else
        AddReason(BlockName(block), "", answer.reason);
    }
    if (received == 0 && !planned.blocks.empty()) {
      reasons_.clear();
      return AddReason("the whole mode", "", "the DSP has received nothing yet");
    }
    const auto module = planned.module ? readback_.ReadModule(driver_) : std::nullopt;
    if (module && *module != *planned.module)
      AddReason("module status", *planned.module ? "on" : "off", *module ? "on" : "off");
  }

  void AddReason(const std::string& block, const std::string& registry, const std::string& dsp) {
    reasons_.push_back({mode_.name(), block, {}, Holding(registry), Holding(dsp)});
  }

  void Add(const DspBlock& planned, const DspBlock* by_default, const DspBlock& held) {
    const std::vector<DecodedField> registry_fields = DecodeBlock(planned);
    const std::vector<DecodedField> held_fields = DecodeBlock(held);
    const auto default_fields =
        by_default != nullptr ? DecodeBlock(*by_default) : std::vector<DecodedField>();
    if (held_fields.empty() && planned.bytes != held.bytes) words_[BlockName(planned)] += 1;
    for (std::size_t i = 0; i < held_fields.size(); ++i) {
      const DecodedField& field = held_fields[i];
      if (!IsControl(field)) {
        words_[BlockName(planned)] += field.value != registry_fields[i].value;
        continue;
      }
      Place place{field, registry_fields[i].value, std::nullopt};
      if (default_fields.size() == held_fields.size()) place.by_default = default_fields[i].value;
      places_.emplace(field.control, std::move(place));
    }
  }

  const Mode& mode_;
  std::string driver_;
  DspReadback readback_;
  std::multimap<std::string, Place> places_;  // by control
  std::map<std::string, std::size_t> words_;  // differing words without a control, by block
  std::vector<Drift> reasons_;
};

// `dsp` is null if the mode is not the DSP's.
void AddDrifts(Context& context, const Endpoint& endpoint, const Mode& mode, const DspFields* dsp,
               std::vector<Drift>& drifts) {
  const auto defaults = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Default);
  const auto publics = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public);
  for (const ControlView& registry : publics) {
    const ControlView* by_default = FindView(defaults, registry.name);
    Drift drift{mode.name(), registry.name, Holding(by_default), Holding(&registry), {}};
    if (dsp != nullptr) drift.dsp = dsp->Find(registry, by_default);
    const bool stored = by_default != nullptr && drift.by_default.value != drift.registry.value;
    const bool pushed = !drift.dsp.value.is_null() && drift.dsp.value != drift.registry.value;
    if (stored || pushed) drifts.push_back(std::move(drift));
  }
  if (dsp == nullptr) return;
  for (Drift& other : dsp->Others()) drifts.push_back(std::move(other));
}

void ShowDrift(Output& output, const std::vector<Drift>& drifts, const std::string& driver) {
  if (output.json()) {
    Json array = Json::array();
    for (const Drift& drift : drifts) {
      array.push_back({{"mode", drift.mode},
                       {"name", drift.name},
                       {"default", drift.by_default.value},
                       {"registry", drift.registry.value},
                       {"dsp", drift.dsp.value}});
    }
    return output.Value(array);
  }
  if (drifts.empty())
    return output.Line(
        driver.empty() ? "Every control has its default."
                       : fmt::format("Every control has its default, in the {} DSP too.", driver));
  Table table({{"MODE"}, {"CONTROL"}, {"DEFAULT"}, {"REGISTRY"}, {"DSP"}});
  const auto cell = [](const Holding& holding, const Holding& before) {
    if (holding.value.is_null()) return Cell("-", ansi::kDim);
    return Cell(holding.text, holding.value != before.value ? ansi::kBad : nullptr);
  };
  for (const Drift& drift : drifts)
    table.Add({ModeLabel(drift.mode), drift.name, cell(drift.by_default, drift.by_default),
               cell(drift.registry, drift.by_default), cell(drift.dsp, drift.registry)});
  output.Show(table);
}

struct DriftArguments : EndpointArguments {
  std::string mode;
};

void FindDrift(Context& context, const DriftArguments& arguments) {
  const Endpoint endpoint = context.SelectEndpoint(arguments.endpoint);
  const std::optional<Mode> current = endpoint.CurrentMode();
  const std::vector<Mode> modes = arguments.mode.empty()
                                      ? endpoint.Modes()
                                      : std::vector{context.SelectMode(endpoint, arguments.mode)};
  std::vector<Drift> drifts;
  std::string driver;
  for (const Mode& mode : modes) {
    std::optional<DspFields> dsp;
    if (current && current->name() == mode.name()) {
      dsp.emplace(context.session().machine(), endpoint, mode);
      driver = dsp->driver();
    }
    AddDrifts(context, endpoint, mode, dsp && !driver.empty() ? &*dsp : nullptr, drifts);
  }
  if (!drifts.empty()) context.exit_status = kDiffering;
  ShowDrift(context.output, drifts, driver);
}

}  // namespace

void AddDriftCommand(CLI::App& app, Context& context) {
  auto [drift, arguments] = AddCommand(app, context, FindDrift, kFindDriftText);
  drift.add_option("--mode", arguments.mode,
                   "Only this mode: its name, or any part of it that no other mode has");
}

}  // namespace orv::cli
