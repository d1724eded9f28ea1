// drift
#include <algorithm>
#include <map>

#include "cli/client/control_view.h"
#include "cli/client/dsp_objects.h"
#include "cli/commands/commands.h"
#include "cli/dsp/plan.h"
#include "platform/driver_names.h"

namespace orv::cli {
namespace {

// What a place says of a control; nothing where the place does not hold it.
struct Said {
  Json value;        // null, a control's integer, or a text
  std::string text;  // for people
};

struct Drift {
  std::string mode;
  std::string name;
  Said by_default;
  Said registry;
  Said dsp;
};

Said SaidBy(const ControlView* view) {
  if (view == nullptr) return {};
  return {view->numeric ? Json(*view->value) : Json(view->text), view->text};
}

// The fields of a DSP that are controls, with what they should hold for the registry's values and
// for the defaults.
class DspFields {
 public:
  DspFields(Machine& machine, const Endpoint& endpoint, const Mode& mode);

  bool known() const noexcept { return !driver_.empty(); }
  const std::string& driver() const noexcept { return driver_; }
  // What the DSP holds for a control that has a field; empty otherwise.
  Said Says(const std::string& control, const ControlView* by_default,
            const ControlView& registry) const;
  // Differences that belong to no control: blocks that cannot be compared, with the reason, blocks
  // whose other words differ, and the module's status.
  std::vector<Drift> Further(const std::string& mode) const;

 private:
  struct Place {
    DecodedField held;
    std::int64_t registry = 0;
    std::optional<std::int64_t> by_default;
  };
  DspPlan Plan(const Mode& mode, ORVAPOControlType list, DspReadback& readback) const;
  void Compare(const DspPlan& planned, const DspPlan& defaults, DspReadback& readback);
  void Add(const DspBlock& planned, const DspBlock* by_default, const DspBlock& held);
  void AddReason(const std::string& block, const std::string& registry, const std::string& dsp);

  std::string driver_;
  std::multimap<std::string, Place> places_;
  std::map<std::string, std::size_t> words_;  // differing words without a control, by block
  std::vector<Drift> reasons_;
};

// The driver behind the endpoint, as the component finds it; empty when there is none.
std::string FindDriver(const Endpoint& endpoint) {
  ComPtr<IKELAPOIntelDSP> intel;
  if (SUCCEEDED(endpoint.object()->GetIntelInterface(intel.Put())) && intel)
    return IntelDsp(endpoint).Kind();
  ComPtr<IORVAPOQCDSP> qualcomm;
  if (SUCCEEDED(endpoint.object()->GetQCDSPInterface(qualcomm.Put())) && qualcomm)
    return kQualcommDriver;
  return {};
}

DspFields::DspFields(Machine& machine, const Endpoint& endpoint, const Mode& mode)
    : driver_(FindDriver(endpoint)) {
  DspReadback readback(machine, endpoint.id());
  if (!readback.simulated()) driver_.clear();
  if (driver_.empty()) return;
  Compare(Plan(mode, kORVAPO_Cont_Public, readback), Plan(mode, kORVAPO_Cont_Default, readback),
          readback);
}

DspPlan DspFields::Plan(const Mode& mode, ORVAPOControlType list, DspReadback& readback) const {
  if (driver_ == kQualcommDriver) return PlanQualcommMode(DspControls(driver_, mode, list), 0);
  return PlanMode(driver_, IntelControls(mode, list), "", 0, &readback);
}

void DspFields::Compare(const DspPlan& planned, const DspPlan& defaults, DspReadback& readback) {
  for (const DspPlan::Gap& gap : planned.missing)
    AddReason(BlockName(gap.block), "cannot be sent: " + gap.reason, "");
  std::size_t received = 0;
  for (const DspBlock& block : planned.blocks) {
    const DspReadback::Answer answer = readback.Read(block);
    received += readback.HasReceived(block);
    if (answer.block) {
      Add(block, FindBlock(defaults.blocks, block.parameter), *answer.block);
    } else {
      AddReason(BlockName(block), "", answer.reason);
    }
  }
  if (received == 0 && !planned.blocks.empty()) {
    reasons_.clear();
    return AddReason("the whole mode", "", "the DSP has received nothing yet");
  }
  const auto module = planned.module ? readback.ReadModule(driver_) : std::nullopt;
  if (module && *module != *planned.module)
    AddReason("module status", *planned.module ? "on" : "off", *module ? "on" : "off");
}

void DspFields::AddReason(const std::string& block, const std::string& registry,
                          const std::string& dsp) {
  const auto said = [](const std::string& text) {
    return text.empty() ? Said{} : Said{Json(text), text};
  };
  reasons_.push_back({"", block, {}, said(registry), said(dsp)});
}

void DspFields::Add(const DspBlock& planned, const DspBlock* by_default, const DspBlock& held) {
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

Said DspFields::Says(const std::string& control, const ControlView* by_default,
                     const ControlView& registry) const {
  const auto [begin, end] = places_.equal_range(control);
  if (begin == end) return {};
  const auto differing = std::find_if(begin, end, [](const auto& entry) {
    return entry.second.held.value != entry.second.registry;
  });
  if (differing == end) return SaidBy(&registry);
  const Place& place = differing->second;
  if (by_default != nullptr && place.by_default == place.held.value) return SaidBy(by_default);
  return {Json(place.held.text), place.held.text};
}

std::vector<Drift> DspFields::Further(const std::string& mode) const {
  std::vector<Drift> drifts = reasons_;
  for (Drift& drift : drifts) drift.mode = mode;
  for (const auto& [block, count] : words_) {
    if (count == 0) continue;
    const std::string text = std::to_string(count) + " differ";
    drifts.push_back({mode, block + ": coefficients", {}, {}, {Json(text), text}});
  }
  return drifts;
}

std::vector<Drift> DriftOf(Context& context, const Endpoint& endpoint, const Mode& mode,
                           const DspFields* dsp) {
  const auto defaults = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Default);
  const auto publics = ViewControls(context.catalog(), endpoint, mode, kORVAPO_Cont_Public);
  std::vector<Drift> drifts;
  for (const ControlView& registry : publics) {
    const ControlView* by_default = FindView(defaults, registry.name);
    Drift drift{mode.name(), registry.name, SaidBy(by_default), SaidBy(&registry), {}};
    if (dsp != nullptr) drift.dsp = dsp->Says(registry.display, by_default, registry);
    const bool stored = by_default != nullptr && drift.by_default.value != drift.registry.value;
    const bool pushed = !drift.dsp.value.is_null() && drift.dsp.value != drift.registry.value;
    if (stored || pushed) drifts.push_back(std::move(drift));
  }
  if (dsp != nullptr) {
    const auto further = dsp->Further(mode.name());
    drifts.insert(drifts.end(), further.begin(), further.end());
  }
  return drifts;
}

void ShowDrift(Context& context, const std::vector<Drift>& drifts, const std::string& driver) {
  if (context.output.json()) {
    Json array = Json::array();
    for (const Drift& drift : drifts) {
      array.push_back({{"mode", drift.mode},
                       {"name", drift.name},
                       {"default", drift.by_default.value},
                       {"registry", drift.registry.value},
                       {"dsp", drift.dsp.value}});
    }
    return context.output.Value(array);
  }
  if (drifts.empty())
    return context.output.Line(driver.empty() ? "Everything stands at its default."
                                              : "Everything stands at its default, in the " +
                                                    driver + " DSP too.");
  Table table({{"MODE"}, {"CONTROL"}, {"DEFAULT"}, {"REGISTRY"}, {"DSP"}});
  const auto cell = [](const Said& said, const Said& before) {
    if (said.value.is_null()) return Cell("-", ansi::kDim);
    return Cell(said.text, said.value != before.value ? ansi::kBad : nullptr);
  };
  for (const Drift& drift : drifts)
    table.Add({drift.mode, drift.name, cell(drift.by_default, drift.by_default),
               cell(drift.registry, drift.by_default), cell(drift.dsp, drift.registry)});
  context.output.Show(table);
}

void FindDrift(Context& context, const std::string& endpoint_text, const std::string& mode_text) {
  const Endpoint endpoint = context.SelectEndpoint(endpoint_text);
  const std::optional<Mode> current = endpoint.CurrentMode();
  std::vector<Mode> modes;
  if (mode_text.empty()) {
    modes = endpoint.Modes();
  } else {
    modes.push_back(context.SelectMode(endpoint, mode_text));
  }
  std::vector<Drift> drifts;
  std::string driver;
  for (const Mode& mode : modes) {
    std::optional<DspFields> dsp;
    if (current && current->name() == mode.name()) {
      dsp.emplace(context.session().machine(), endpoint, mode);
      driver = dsp->driver();
    }
    const auto found = DriftOf(context, endpoint, mode, dsp && dsp->known() ? &*dsp : nullptr);
    drifts.insert(drifts.end(), found.begin(), found.end());
  }
  if (!drifts.empty()) context.exit_status = kDiffering;
  ShowDrift(context, drifts, driver);
}

}  // namespace

void AddDriftCommand(CLI::App& app, Context& context) {
  const auto endpoint = std::make_shared<std::string>();
  const auto mode = std::make_shared<std::string>();
  CLI::App* drift = AddCommand(
      app, "drift", "Where defaults, the registry and the DSP differ, control by control",
      "orvctl drift 0\n  orvctl --json drift 0 --mode Movie/Internal",
      "The DSP holds one mode, so it is compared with the current one; what its fields stand for "
      "is\n"
      "told as the control's value where it is the registry's or the default, else as the field's "
      "text.\nA real machine's DSP cannot be looked into. Exit status 3 when something differs.");
  drift->add_option("ENDPOINT", *endpoint, kEndpointHelp)->required();
  drift->add_option("--mode", *mode,
                    "Only this mode: its name or any part of it that fits one mode only");
  drift->callback([&context, endpoint, mode] { FindDrift(context, *endpoint, *mode); });
}

}  // namespace orv::cli
