#include "cli/dsp/mode_filters.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "cli/offline/filter_response.h"
#include "cli/show/names.h"
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/filter_designs.h"
#include "intel_dsp/skylake/block_tables.h"
#include "platform/driver_names.h"
#include "platform/text.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv::cli {
namespace {

// Where a driver's block has a cascade, by the names of its fields.
struct CascadePlace {
  std::uint32_t parameter;
  const char* prefix;
  int bits = 32;
};

// The names of a suite's controls begin with `stem`; its filters are in these blocks.
struct Suite {
  const char* driver;
  std::string stem;
  const char* equaliser_switch;
  CascadePlace high_pass;
  std::array<CascadePlace, 2> equaliser;  // left, right
  std::uint32_t bass;                     // the block of its words
  const char* bass_field;                 // the first of them
  std::size_t bass_words;
  std::optional<CascadePlace> space;
  const char* space_frequency;
};

const Suite kFilterSuites[] = {
    {kSkylakeDriver,
     "VQ3D-",
     "AEQ Enable",
     {skylake::kLeftFilter, "high-pass "},
     {{{skylake::kLeftFilter, "IIR "}, {skylake::kRightFilter, "IIR "}}},
     skylake::kBassFilters,
     "audio size low-pass b0",
     kBassEnhancementWords,
     CascadePlace{skylake::kSpaceFilter, "high-pass "},
     "Space HPF Custom Freq"},
    {kBroadwellDriver,
     "ZENSND-",
     "AEQ Enable",
     {broadwell::kHighPassCoefficients, "", 16},
     {{{broadwell::kLeftEqualizer, ""}, {broadwell::kRightEqualizer, ""}}},
     broadwell::kBassCoefficients,
     "audio size low-pass b0",
     kBassEnhancementWords,
     CascadePlace{broadwell::kSpaceCoefficients, ""},
     "Space HPF Custom Freq"},
    {kQualcommDriver,
     "QUMEDIA-",
     "Link PEQ Enable",
     {kORVAPOQC_Param_HPF, ""},
     {{{kORVAPOQC_Param_PEQ, "left "}, {kORVAPOQC_Param_PEQ, "right "}}},
     kORVAPOQC_Param_WIDHD,
     "audio low-pass b0",
     kBassEnhancementWords - FilterWords(1),
     std::nullopt,
     ""},
};
constexpr const char* kChannels[] = {"Left", "Right"};

// Blocks with their fields.
class DecodedBlocks {
 public:
  explicit DecodedBlocks(const std::vector<DspBlock>& blocks) {
    for (const DspBlock& block : blocks) blocks_.push_back({block.parameter, DecodeBlock(block)});
  }

  // Null if the driver has no such block.
  const std::vector<DecodedField>* Fields(std::uint32_t parameter) const {
    const auto found = std::ranges::find(blocks_, parameter, &Decoded::parameter);
    return found != blocks_.end() ? &found->fields : nullptr;
  }
  const DecodedField* Find(const std::string& control) const {
    for (const Decoded& block : blocks_)
      for (const DecodedField& field : block.fields)
        if (field.control == control) return &field;
    return nullptr;
  }
  // A switch that is in no block counts as on.
  bool IsOn(const std::string& control) const {
    const DecodedField* field = Find(control);
    return field == nullptr || field->value != 0;
  }

 private:
  struct Decoded {
    std::uint32_t parameter;
    std::vector<DecodedField> fields;
  };
  std::vector<Decoded> blocks_;
};

// The numbers of neighbouring fields from the first that `begins`, as long as they `belong`.
template <class Begins, class Belongs>
std::vector<std::int32_t> Words(const std::vector<DecodedField>& fields, Begins begins,
                                Belongs belongs) {
  const auto first = std::ranges::find_if(fields, begins);
  const auto last = std::find_if_not(first, fields.end(), belongs);
  std::vector<std::int32_t> words;
  for (auto field = first; field != last; ++field)
    words.push_back(static_cast<std::int32_t>(field->value));
  return words;
}

Cascade CascadeOf(const std::vector<std::int32_t>& words, int bits) {
  const std::size_t sections = (words.size() - FilterWords(0)) / (FilterWords(1) - FilterWords(0));
  if (bits == 32) return Cascade::FromWords(words.data(), sections);
  const std::vector<std::int16_t> narrow(words.begin(), words.end());
  return Cascade::FromWords(narrow.data(), sections);
}

// The taps behind a Skylake equaliser; none without them.
void AppendFir(const std::vector<DecodedField>& fields, Cascade& cascade) {
  const auto words = Words(
      fields, [](const DecodedField& field) { return field.control == "FIR shift"; },
      [](const DecodedField& field) { return field.control.starts_with("FIR "); });
  if (words.size() < 4) return;
  const auto value = [&](std::size_t i, std::size_t shift) {
    return std::ldexp(words[i], words[shift] - 32);
  };
  const std::size_t end = words.size() - 2;
  std::vector<double> taps;
  for (std::size_t i = 1; i < end; ++i) taps.push_back(value(i, 0) * value(end + 1, end));
  cascade.AppendTaps(std::move(taps));
}

// nullopt if there is no such block or it does not decode; passes everything on if the block has
// no such cascade.
std::optional<Cascade> CascadeAt(const DecodedBlocks& blocks, const CascadePlace& place) {
  const std::vector<DecodedField>* fields = blocks.Fields(place.parameter);
  if (fields == nullptr || fields->empty()) return std::nullopt;
  const std::string prefix = place.prefix;
  const auto belongs = [&](const DecodedField& field) {
    return field.control.starts_with(prefix + "section ") ||
           field.control.starts_with(prefix + "gain");
  };
  const std::vector<std::int32_t> words = Words(*fields, belongs, belongs);
  Cascade cascade = words.size() < FilterWords(0) ? Cascade(std::vector<Cascade::Section>())
                                                  : CascadeOf(words, place.bits);
  if (prefix == "IIR ") AppendFir(*fields, cascade);
  return cascade;
}

// The values of a mode's controls.
class Controls {
 public:
  Controls(const Suite& suite, const DspControlMap& map) : suite_(suite), map_(map) {}

  std::optional<std::int32_t> Value(const std::string& name) const {
    const auto found = map_.find(NameFromUtf8(suite_.stem + name));
    return found != map_.end() ? std::optional(found->second) : std::nullopt;
  }
  float Number(const std::string& name) const {
    return static_cast<float>(Value(name).value_or(0));
  }
  bool IsOff(const std::string& name) const { return Value(name) == 0; }
  const DspControlMap& map() const noexcept { return map_; }

 private:
  const Suite& suite_;
  const DspControlMap& map_;
};

std::vector<FilterBand> QualcommBands(const Controls& controls, const std::string& channel) {
  std::vector<FilterBand> bands;
  for (int band = 0;; ++band) {
    const std::string stem = fmt::format("PEQ {} Band {} ", channel, band);
    if (!controls.Value(stem + "Frequency")) return bands;
    bands.push_back({kORVFilter_Traditional, controls.Number(stem + "Frequency"),
                     controls.Number(stem + "Q Factor") / 100, controls.Number(stem + "Gain"), 0});
  }
}

// The bands as the writers take them; one of unknown type passes its input on.
std::vector<FilterBand> BandsOf(const Suite& suite, const Controls& controls,
                                const std::string& channel) {
  std::vector<FilterBand> bands;
  if (suite.driver == std::string(kQualcommDriver)) {
    bands = QualcommBands(controls, channel);
  } else {
    try {
      const bool skylake = suite.driver == std::string(kSkylakeDriver);
      bands = ReadEqualizerBands(skylake ? kSkylakeEqualizer : kBroadwellEqualizer, channel,
                                 IntelControls(controls.map()));
    } catch (const IntelException&) {
      return {};  // the plan gives the reason
    }
  }
  for (FilterBand& band : bands)
    if (band.type == kUnknownBandType) band = {kORVFilter_Gain, 0, 0, 0, 0};
  return bands;
}

std::optional<Cascade> IdealHighPass(const Suite& suite, const Controls& controls) {
  FilterArguments arguments;
  arguments.order = controls.Value("HPF Order").value_or(0);
  arguments.frequency = controls.Number("HPF Frequency");
  arguments.bits = suite.high_pass.bits;
  arguments.rate = kDspRate;
  if (arguments.order < 1 || arguments.order > 24 || arguments.frequency <= 0) return std::nullopt;
  const FilterDesign design = DesignButterworth(arguments);
  if (design.status != kFilterOk) return std::nullopt;
  return design.filters.front().ideal;
}

bool AreAlike(const std::optional<Cascade>& a, const std::optional<Cascade>& b) {
  if (!a || !b) return !a && !b;
  return LargestDeviation(*a, *b, kDspRate, kLowestFrequency, kHighestShare * kDspRate).decibels ==
         0;
}
bool AreAlike(const FilterForms& a, const FilterForms& b) {
  return AreAlike(a.ideal, b.ideal) && AreAlike(a.planned, b.planned) && AreAlike(a.held, b.held);
}

class Reader {
 public:
  Reader(const Suite& suite, const DspControlMap& map, const DspPlan& plan,
         const std::vector<DspBlock>& held, ModeFilters& result)
      : suite_(suite), controls_(suite, map), planned_(plan.blocks), held_(held), result_(result) {}

  void Read(const std::string& channel) {
    if (controls_.IsOff("Process Enable")) Note("Processing", "Process Enable");
    AddChain(channel);
    AddBass();
    AddSpace();
    AddGraphicEqualiser();
    AddTone();
  }

 private:
  std::string Control(const std::string& name) const { return suite_.stem + name; }
  void Note(const std::string& what, const std::string& control) {
    result_.notes.push_back(fmt::format("{} is switched off ({}).", what, Control(control)));
  }

  // High-pass and equaliser of one channel, as far as they are on.
  std::optional<Cascade> Chain(const DecodedBlocks& blocks, std::size_t channel) const {
    Cascade chain{std::vector<Cascade::Section>()};
    const std::pair<const char*, const CascadePlace*> parts[] = {
        {"HPF Enable", &suite_.high_pass}, {suite_.equaliser_switch, &suite_.equaliser[channel]}};
    for (const auto& [enable, place] : parts) {
      if (!blocks.IsOn(Control(enable))) continue;
      const std::optional<Cascade> part = CascadeAt(blocks, *place);
      if (!part) return std::nullopt;
      chain.Append(*part);
    }
    return chain;
  }

  std::optional<Cascade> IdealChain(std::size_t channel) const {
    for (const char* preset : {"Custom Filter Type", "HPF Filter Cfg", "Filter Cfg"})
      if (controls_.Value(preset)) return std::nullopt;
    Cascade chain{std::vector<Cascade::Section>()};
    if (!controls_.IsOff("HPF Enable")) {
      const std::optional<Cascade> high_pass = IdealHighPass(suite_, controls_);
      if (!high_pass) return std::nullopt;
      chain.Append(*high_pass);
    }
    if (controls_.IsOff(suite_.equaliser_switch)) return chain;
    const auto bands = IdealBands(BandsOf(suite_, controls_, kChannels[channel]), kDspRate);
    if (!bands) return std::nullopt;
    chain.Append(*bands);
    return chain;
  }

  void AddMarks(const std::string& channel, std::vector<FilterMark>& marks) const {
    if (controls_.IsOff(suite_.equaliser_switch)) return;
    const std::vector<FilterBand> bands = BandsOf(suite_, controls_, channel);
    for (std::size_t i = 0; i < bands.size(); ++i) {
      const FilterMark mark{bands[i].frequency, std::to_string(i)};
      const bool marked = std::ranges::any_of(
          marks, [&](const FilterMark& other) { return other.frequency == mark.frequency; });
      if (bands[i].gain_db != 0 && !marked) marks.push_back(mark);
    }
  }

  void AddChain(const std::string& only) {
    FilterGroup group{"High-pass and equaliser", {}, {}};
    if (controls_.IsOff("HPF Enable")) {
      Note("The high-pass", "HPF Enable");
    } else {
      group.marks.push_back({controls_.Number("HPF Frequency"), "HP"});
    }
    if (controls_.IsOff(suite_.equaliser_switch))
      Note("The parametric equaliser", suite_.equaliser_switch);
    for (std::size_t channel = 0; channel < 2; ++channel) {
      ModeFilter filter{channel == 0 ? "left" : "right", {}};
      if (!only.empty() && only != filter.name) continue;
      filter.forms.planned = Chain(planned_, channel);
      if (filter.forms.planned) filter.forms.ideal = IdealChain(channel);
      filter.forms.held = Chain(held_, channel);
      AddMarks(kChannels[channel], group.marks);
      group.filters.push_back(std::move(filter));
      NoteDisabledBands(kChannels[channel]);
    }
    if (group.filters.size() == 2 && AreAlike(group.filters[0].forms, group.filters[1].forms)) {
      group.filters.pop_back();
      group.filters.front().name = "left and right";
    }
    result_.groups.push_back(std::move(group));
  }

  // The Qualcomm driver has all bands in its words, and a bit for each that is enabled.
  void NoteDisabledBands(const std::string& channel) {
    if (suite_.driver != std::string(kQualcommDriver)) return;
    for (int band = 0; band < 4; ++band) {
      const std::string stem = fmt::format("PEQ {} Band {} ", channel, band);
      if (controls_.IsOff(stem + "Enable") && !controls_.IsOff(stem + "Gain"))
        result_.notes.push_back(fmt::format(
            "{}Enable is off: the band's words are sent and drawn, with its bit cleared.",
            Control(stem)));
    }
  }

  std::vector<Cascade> Bass(const DecodedBlocks& blocks) const {
    const std::vector<DecodedField>* fields = blocks.Fields(suite_.bass);
    if (fields == nullptr) return {};
    std::size_t left = suite_.bass_words;
    const std::vector<std::int32_t> words = Words(
        *fields, [&](const DecodedField& field) { return field.control == suite_.bass_field; },
        [&](const DecodedField&) { return left-- != 0; });
    return words.size() == suite_.bass_words ? BassFilters(words) : std::vector<Cascade>();
  }

  FilterDesign IdealBass() const {
    const auto size = [&](const std::string& which) {
      const std::string name = "DPHD Speaker " + which;
      return static_cast<float>(controls_.Value(name + " Custom Size")
                                    .value_or(controls_.Value(name + " Size").value_or(0)));
    };
    FilterArguments arguments;
    arguments.rate = kDspRate;
    arguments.audio = size("Audio");
    const bool one_size = suite_.driver == std::string(kQualcommDriver) &&
                          controls_.IsOff("DPHD Split Analysis Enable");
    arguments.analysis = one_size ? arguments.audio : size("Analysis");
    const bool fits = arguments.audio > 0 && arguments.analysis > 0 &&
                      !controls_.Value("DPHD_Speaker Custom Table");
    return fits ? DesignBass(arguments) : FilterDesign();
  }

  void AddBass() {
    if (!controls_.Value("DPHD Enable")) return;
    if (controls_.IsOff("DPHD Enable")) return Note("Bass enhancement", "DPHD Enable");
    const std::vector<Cascade> planned = Bass(planned_);
    if (planned.empty()) {
      result_.notes.push_back(fmt::format(
          "Bass enhancement runs filters of the DSP's own ({} = {}); they are not drawn.",
          Control("DPHD Speaker Audio Size"), controls_.Number("DPHD Speaker Audio Size")));
      return;
    }
    const std::vector<Cascade> held = Bass(held_);
    const FilterDesign design = IdealBass();
    const std::vector<std::string> names = BassFilterNames();
    FilterGroup group{"Bass enhancement", {}, {}};
    for (std::size_t i = 0; i < planned.size(); ++i) {
      ModeFilter filter{names[i], {std::nullopt, planned[i], std::nullopt}};
      if (i < design.filters.size()) filter.forms.ideal = design.filters[i].ideal;
      if (i < held.size()) filter.forms.held = held[i];
      group.filters.push_back(std::move(filter));
    }
    result_.groups.push_back(std::move(group));
  }

  void AddSpace() {
    if (!suite_.space || !controls_.Value("Space HPF Enable")) return;
    if (controls_.IsOff("Space HPF Enable")) return Note("The space high-pass", "Space HPF Enable");
    ModeFilter filter{"space high-pass", {}};
    filter.forms.planned = CascadeAt(planned_, *suite_.space);
    if (!filter.forms.planned) {
      result_.notes.push_back(
          "The space high-pass runs a filter of the DSP's own, chosen by its cut-off; it is not "
          "drawn.");
      return;
    }
    const float frequency = controls_.Number(suite_.space_frequency);
    FilterArguments arguments;
    arguments.order = 2;
    arguments.frequency = frequency;
    arguments.rate = kDspRate;
    const FilterDesign design = DesignButterworth(arguments);
    if (design.status == kFilterOk && !controls_.Value("Space HPF Custom Freq Table"))
      filter.forms.ideal = design.filters.front().ideal;
    filter.forms.held = CascadeAt(held_, *suite_.space);
    result_.groups.push_back({"Space high-pass", {std::move(filter)}, {{frequency, "HP"}}});
  }

  GainPoint PointOf(const std::string& control, std::optional<double> frequency) const {
    const auto text = [&](const DecodedBlocks& blocks) {
      const DecodedField* field = blocks.Find(control);
      return field != nullptr ? field->text : std::string();
    };
    return {control, frequency, text(planned_), text(held_)};
  }

  void AddGraphicEqualiser() {
    constexpr std::pair<const char*, double> kBands[] = {
        {"100Hz", 100}, {"300Hz", 300}, {"1kHz", 1000}, {"3kHz", 3000}, {"10kHz", 10000}};
    if (!controls_.Value("GEQ Enable")) return;
    GainGroup group{"Graphic equaliser", !controls_.IsOff("GEQ Enable"), {}};
    for (const auto& [name, frequency] : kBands)
      group.points.push_back(PointOf(Control(std::string("GEQ ") + name + " Gain"), frequency));
    result_.gains.push_back(std::move(group));
  }

  void AddTone() {
    if (!controls_.Value("Tone Enable")) return;
    GainGroup group{"Tone", !controls_.IsOff("Tone Enable"), {}};
    for (const char* name : {"Bass Gain", "Treble Gain"})
      group.points.push_back(PointOf(Control(name), std::nullopt));
    result_.gains.push_back(std::move(group));
  }

  const Suite& suite_;
  Controls controls_;
  DecodedBlocks planned_;
  DecodedBlocks held_;
  ModeFilters& result_;
};

// What the driver holds for the plan's blocks. If it holds none, one note replaces all others.
std::vector<DspBlock> ReadHeld(const DspPlan& plan, DspReadback& readback,
                               std::vector<std::string>& notes) {
  std::vector<DspBlock> held;
  for (const DspBlock& planned : plan.blocks) {
    DspReadback::Answer answer = readback.Read(planned);
    if (answer.block) {
      held.push_back(std::move(*answer.block));
    } else {
      notes.push_back(fmt::format("{}: {}.", BlockName(planned), answer.reason));
    }
  }
  if (held.empty() && !plan.blocks.empty())
    notes.assign(1, "The DSP holds nothing of this mode yet: " + notes.back());
  return held;
}

}  // namespace

std::string DriverOfControls(const DspControlMap& controls) {
  for (const Suite& suite : kFilterSuites) {
    const auto found = controls.lower_bound(NameFromUtf8(suite.stem));
    if (found != controls.end() && found->first.starts_with(NameFromUtf8(suite.stem)))
      return suite.driver;
  }
  return {};
}

ModeFilters ReadModeFilters(const std::string& driver, const DspControlMap& controls,
                            const std::string& channel, DspReadback* readback) {
  ModeFilters filters;
  filters.driver = driver;
  const DspPlan plan = driver == kQualcommDriver
                           ? PlanQualcommMode(controls, 0)
                           : PlanMode(driver, IntelControls(controls), "", 0, readback);
  for (const DspPlan::Gap& gap : plan.missing)
    filters.notes.push_back(
        fmt::format("{} cannot be sent: {}.", BlockName(gap.block), gap.reason));
  std::vector<DspBlock> held;
  std::vector<std::string> unread;
  if (readback != nullptr) held = ReadHeld(plan, *readback, unread);
  const auto suite =
      std::ranges::find_if(kFilterSuites, [&](const Suite& one) { return one.driver == driver; });
  if (suite != std::end(kFilterSuites)) Reader(*suite, controls, plan, held, filters).Read(channel);
  filters.notes.insert(filters.notes.end(), unread.begin(), unread.end());
  return filters;
}

}  // namespace orv::cli
