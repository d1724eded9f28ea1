#include "cli/dsp/plan.h"

#include <fmt/format.h>

#include <algorithm>
#include <initializer_list>

#include "cli/show/names.h"
#include "intel_dsp/broadwell/coefficients.h"
#include "intel_dsp/broadwell/processors.h"
#include "intel_dsp/drivers.h"
#include "intel_dsp/skylake/blocks.h"
#include "intel_dsp/skylake/writers.h"
#include "platform/diagnostics.h"
#include "platform/driver_names.h"
#include "platform/text.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv::cli {
namespace {

// Adds those of the parameters that the plan does not send.
void AddGaps(const DspPlan& plan, std::initializer_list<std::uint32_t> parameters,
             const std::string& reason, std::vector<DspPlan::Gap>& gaps) {
  for (const std::uint32_t parameter : parameters)
    if (FindBlock(plan.blocks, parameter) == nullptr)
      gaps.push_back({{plan.driver, parameter, {}, 0}, reason});
}

// A driver that keeps as a plan what writers send. `held` answers what they read; may be null.
template <class Driver>
class Recorder : public Driver {
 public:
  Recorder(DspPlan& plan, DspReadback* held) : plan_(plan), held_(held) {}

  bool GetParameter(HRESULT& status, std::uint32_t parameter, void* buffer, std::uint32_t size,
                    std::uint8_t) override {
    status = E_FAIL;
    const DspBlock* block = FindBlock(plan_.blocks, parameter);
    std::optional<DspBlock> held;
    if (block == nullptr && held_ != nullptr) {
      held = held_->Held(plan_.driver, parameter, size);
      if (held) block = &*held;
    }
    if (block == nullptr || block->bytes.size() < size) return false;
    std::copy_n(block->bytes.begin(), size, static_cast<std::byte*>(buffer));
    status = S_OK;
    return true;
  }
  bool SetParameter(HRESULT& status, std::uint32_t parameter, const void* buffer,
                    std::uint32_t size, std::uint8_t apply) override {
    const auto* bytes = static_cast<const std::byte*>(buffer);
    auto known = std::ranges::find(plan_.blocks, parameter, &DspBlock::parameter);
    if (known == plan_.blocks.end()) known = plan_.blocks.insert(known, DspBlock{});
    *known = {plan_.driver, parameter, {bytes, bytes + size}, apply};
    status = S_OK;
    return true;
  }

 protected:
  ~Recorder() = default;
  DspPlan& plan_;

 private:
  DspReadback* held_;
};

class SkylakeRecorder final : public Recorder<SkylakeDriver> {
 public:
  using Recorder::Recorder;
  bool GetStatus(HRESULT& status, std::uint8_t& enabled, std::uint8_t) override {
    enabled = 1;
    status = S_OK;
    return true;
  }
  bool SetStatus(HRESULT& status, std::uint8_t enable, std::uint8_t) override {
    plan_.module = enable != 0;
    status = S_OK;
    return true;
  }
};

class BroadwellRecorder final : public Recorder<BroadwellDriver> {
 public:
  using Recorder::Recorder;
  std::uint32_t last_error() const override { return 0; }
};

constexpr char kHighPass[] = "HPF";
constexpr char kUnusableBands[] = "a band is out of range, or there are too many";

std::string ValueReason(const std::string& control, const ControlValueMap& controls) {
  const auto found = controls.find(control);
  const std::string name = Utf8FromName(control);
  if (found == controls.end()) return fmt::format("the mode has no value for \"{}\"", name);
  return fmt::format("\"{}\" is out of range: {}", name, Utf8FromName(found->second.ToString()));
}

// A converter's exception reads "control - message"; other texts stay as they are.
std::string ReasonOf(const std::string& error, const ControlValueMap& controls) {
  const std::size_t end = error.find(" - ");
  const std::string name = error.substr(0, end);
  const bool is_control = end != std::string::npos && name.find('-') != std::string::npos;
  return is_control ? ValueReason(name, controls) : Utf8FromName(error);
}

// Keeps the latest error that a writer reported, without its site.
class ErrorCapture {
 public:
  const std::string& error() const noexcept { return error_; }

 private:
  void Take(std::wstring_view line) {
    const std::string text = Narrow(line);
    if (text.empty()) return;  // a line that does not convert
    const std::size_t begin = text.rfind(" | ") + 3;
    const std::size_t range = text.find(": ", begin);
    constexpr std::string_view kError = "Error: ";
    constexpr std::string_view kRangeError = "Error: HR error";
    if (text.find(" is not within ") != std::string::npos) {
      error_ = text.substr(begin, range - begin) + " - out of range";
    } else if (text.compare(begin, kError.size(), kError) == 0 &&
               text.compare(begin, kRangeError.size(), kRangeError) != 0) {
      error_ = text.substr(begin + kError.size());
      error_.erase(error_.find_last_not_of(" \n") + 1);
    }
  }

  std::string error_;
  DiagnosticCapture capture_{[this](std::wstring_view line) { Take(line); }};
};

std::string SkylakeFilterReason(const std::string& error, const ControlValueMap& controls) {
  constexpr char kOrder[] = "VQ3D-HPF Order";
  if (error.find("VerifyFilterOrder") == std::string::npos) return ReasonOf(error, controls);
  const auto order = controls.find(kOrder);
  const bool fits =
      order == controls.end() || (order->second.ToLong() >= skylake::kFewestHighPassOrder &&
                                  order->second.ToLong() <= skylake::kMostHighPassOrder);
  return fits ? "the mode has more equaliser bands than the module" : ValueReason(kOrder, controls);
}

std::string SkylakeBlockReason(const skylake::Block& block, const ControlValueMap& controls,
                               const std::string& error) {
  skylake::BlockBytes bytes{};
  try {
    skylake::FillBlock(block, controls, bytes);
  } catch (const std::exception& failure) {
    return ReasonOf(failure.what(), controls);
  }
  if (const auto* field = records::FindOutOfRange(block.fields, bytes))
    return ValueReason(field->control, controls);
  return ReasonOf(error, controls);
}

void WriteSkylakeFilters(DspPlan& plan, KELAPOIntelDSP_SKL& writers,
                         const ControlValueMap& controls, std::uint8_t apply) {
  const ErrorCapture capture;
  writers.SetVQ3DHPFAEQControls(controls, apply);
  AddGaps(plan, {skylake::kLeftFilter, skylake::kRightFilter},
          SkylakeFilterReason(capture.error(), controls), plan.missing);
}

void WriteSkylake(DspPlan& plan, DspReadback* held, const ControlValueMap& controls, bool whole,
                  std::uint8_t apply) {
  SkylakeRecorder driver(plan, held);
  KELAPOIntelDSP_SKL writers(driver);
  if (!whole) return WriteSkylakeFilters(plan, writers, controls, apply);
  KELAPOIntelDSP_SKL::ClearCache();
  for (const skylake::Block& block : skylake::kBlocks) {
    const ErrorCapture capture;
    const HRESULT status = writers.WriteControls(block, controls, apply);
    if (FindBlock(plan.blocks, block.parameter) != nullptr) continue;
    auto& gaps = FAILED(status) ? plan.missing : plan.kept;
    const std::string reason = SkylakeBlockReason(block, controls, capture.error());
    AddGaps(plan, {block.parameter}, reason, gaps);
    if (block.parameter == skylake::kVQ3D) AddGaps(plan, {skylake::kCommonConfig}, reason, gaps);
  }
  WriteSkylakeFilters(plan, writers, controls, apply);
  plan.module = KELAPOIntelDSP_SKL::CachedProcessEnable();
}

void WriteBroadwell(DspPlan& plan, DspReadback* held, const ControlValueMap& controls,
                    const std::string& technology, std::uint8_t apply) {
  BroadwellRecorder driver(plan, held);
  KELAPOIntelDSP_BRW processors(driver);
  const bool whole = technology.empty();
  // Records what one processor sends; the others continue if it fails.
  const auto write = [&](std::initializer_list<std::uint32_t> parameters, const auto& process) {
    const ErrorCapture capture;
    std::string error;
    try {
      process();
    } catch (const std::exception& failure) {
      error = failure.what();
    }
    if (error.empty()) error = capture.error();
    AddGaps(plan, parameters, ReasonOf(error.empty() ? kUnusableBands : error, controls),
            plan.missing);
  };
  if (whole || technology == kHighPass)
    write({broadwell::kHighPassCoefficients}, [&] {
      try {
        processors.ProcessHPFControls(controls, apply);
      } catch (const IntelException& error) {
        const std::string text = error.what();
        if (!text.starts_with("HPF - ")) throw;
        const bool order = text.find("order") != std::string::npos;
        throw IntelException(order ? "ZENSND-HPF Order" : "ZENSND-HPF Frequency", text);
      }
    });
  if (whole) {
    write({broadwell::kEvenvolume}, [&] { processors.ProcessEvenvolumeControls(controls, apply); });
    write({broadwell::kHardLimiter}, [&] { processors.ProcessHLControls(controls, apply); });
    write({broadwell::kAmhd}, [&] { processors.ProcessAMHDControls(controls, apply); });
    write({broadwell::kProcessEnable, broadwell::kInputGain, broadwell::kOutputGain,
           broadwell::kBypassGain, broadwell::kHeadroomGain, broadwell::kHighPassEnable,
           broadwell::kEqualizerEnable},
          [&] { processors.ProcessGlobalControls(controls, apply); });
  }
  const bool all_bands = whole || technology == "PEQALL";
  if (all_bands || technology == "PEQLEFT")
    write({broadwell::kLeftEqualizer},
          [&] { processors.ProcessPEQControls(controls, apply, KELAPOIntelDSP_BRW::kLeft); });
  if (all_bands || technology == "PEQRIGHT")
    write({broadwell::kRightEqualizer},
          [&] { processors.ProcessPEQControls(controls, apply, KELAPOIntelDSP_BRW::kRight); });
}

}  // namespace

DspPlan PlanMode(const std::string& driver, const ControlValueMap& controls,
                 const std::string& technology, std::uint8_t apply, DspReadback* held) {
  const DiagnosticCapture quiet([](std::wstring_view) {});
  DspPlan plan;
  plan.driver = driver;
  if (driver == kSkylakeDriver) {
    WriteSkylake(plan, held, controls, technology.empty(), apply);
  } else {
    WriteBroadwell(plan, held, controls, technology, apply);
  }
  return plan;
}

DspPlan PlanQualcommMode(const QualcommControls& controls, std::uint32_t form_factor) {
  const DiagnosticCapture quiet([](std::wstring_view) {});
  DspPlan plan;
  plan.driver = kQualcommDriver;
  for (const QualcommParameter parameter : kQualcommSendingOrder) {
    const std::wstring_view needed = QualcommRecordNeeds(parameter);
    if (!needed.empty() && controls.find(needed) == controls.end()) {
      AddGaps(plan, {parameter}, fmt::format("the mode has no \"{}\"", Utf8FromName(needed)),
              plan.kept);
      continue;
    }
    const QualcommRecord record(parameter, controls);
    const auto payload = record.payload();
    plan.blocks.push_back({plan.driver, parameter, {payload.begin(), payload.end()}, form_factor});
  }
  return plan;
}

DspProperty PlanProperty(const std::string& driver, const std::string& name, const VARIANT& value,
                         const ControlValueMap& mode, std::uint8_t apply, DspReadback* held) {
  const ErrorCapture capture;
  DspProperty property;
  property.plan.driver = driver;
  try {
    if (driver == kSkylakeDriver) {
      SkylakeRecorder skylake(property.plan, held);
      ORVQVTValueList list;
      for (const auto& [control, held_value] : mode) list.GetOrAdd(control) = held_value;
      property.status =
          KELAPOIntelDSP_SKL(skylake).SetControl(NameFromUtf8(name), value, list, apply);
    } else {
      BroadwellRecorder broadwell(property.plan, held);
      property.status = KELAPOIntelDSP_BRW(broadwell).SetProperty(NameFromUtf8(name), apply, value);
    }
  } catch (const IntelException& error) {
    property.status = orv_apo::kAborted;
    property.reason = ReasonOf(error.what(), {});
  }
  if (!property.plan.sends_anything() && property.reason.empty() && !capture.error().empty())
    property.reason = ReasonOf(capture.error(), mode);
  return property;
}

std::optional<DspPlace> FindProperty(const std::string& driver, const std::string& name) {
  const std::string control = Narrow(NameFromUtf8(name));
  if (driver == kSkylakeDriver) {
    const auto place = skylake::FindControl(control);
    return place ? std::optional(DspPlace{place->parameter, place->offset}) : std::nullopt;
  }
  const auto place =
      broadwell::FindField(control == "AMHD Enable" ? "ZENSND-AMHD Enable" : control);
  // The module is switched on and off as a whole.
  if (place.field == nullptr || place.block->parameter == broadwell::kProcessEnable)
    return std::nullopt;
  return DspPlace{place.block->parameter, place.field->offset};
}

DspPlan PlanEqualizer(const std::vector<EqualizerBand>& bands,
                      const std::vector<KELChannel>& channels, std::uint8_t apply) {
  const DiagnosticCapture quiet([](std::wstring_view) {});
  std::vector<FilterBand> designed;
  for (const EqualizerBand& band : bands)
    designed.push_back(
        {kORVFilter_Traditional, static_cast<float>(band.frequency), band.q, band.gain_db, 0});
  designed.front().type = kORVFilter_LowShelf;
  designed.back().type = kORVFilter_HighShelf;
  const broadwell::Bytes bytes = broadwell::EqualizerBlock(designed);
  DspPlan plan;
  plan.driver = kBroadwellDriver;
  for (const KELChannel channel : channels) {
    const std::uint32_t parameter =
        channel == kKELAPO_Left ? broadwell::kLeftEqualizer : broadwell::kRightEqualizer;
    const DspBlock block{plan.driver, parameter, bytes, apply};
    if (bytes.empty()) {
      plan.missing.push_back({block, kUnusableBands});
    } else {
      plan.blocks.push_back(block);
    }
  }
  return plan;
}

ControlValueMap IntelControls(const Mode& mode, ORVAPOControlType list) {
  return IntelControls(DspControls(kSkylakeDriver, mode, list));
}

ControlValueMap IntelControls(const DspControlMap& controls) {
  ControlValueMap map;
  for (const auto& [name, value] : controls) {
    const std::string narrow = Narrow(name);
    map.insert_or_assign(narrow, ORVQVTValue(narrow, value));
  }
  return map;
}

}  // namespace orv::cli
