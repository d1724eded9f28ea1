#include "cli/dsp/plan.h"

#include <functional>
#include <initializer_list>

#include "cli/client/component_text.h"
#include "cli/dsp/recorder.h"
#include "cli/show/names.h"
#include "intel_dsp/broadwell/coefficients.h"
#include "intel_dsp/broadwell/processors.h"
#include "intel_dsp/skylake/blocks.h"
#include "intel_dsp/skylake/parameter_blocks.h"
#include "platform/diagnostics.h"
#include "platform/driver_names.h"
#include "platform/text.h"
#include "qc_dsp/qualcomm_records.h"

namespace orv::cli {
namespace {

constexpr char kHighPass[] = "HPF";

std::string Utf8OfNarrow(const std::string& narrow) { return Utf8FromName(Widen(narrow)); }

std::string ValueReason(const std::string& control, const ControlValueMap& controls) {
  const auto found = controls.find(control);
  if (found == controls.end()) return "the mode has no value for \"" + Utf8OfNarrow(control) + "\"";
  return "\"" + Utf8OfNarrow(control) +
         "\" is out of range: " + Utf8OfNarrow(found->second.ToString());
}

// A converter's exception reads "control - message"; other texts stay as they are.
std::string ReasonOf(const std::string& error, const ControlValueMap& controls) {
  const std::size_t end = error.find(" - ");
  const std::string name = error.substr(0, end);
  const bool is_control = end != std::string::npos && name.find('-') != std::string::npos;
  return is_control ? ValueReason(name, controls) : Utf8OfNarrow(error);
}

// The latest error that a writer reported without its site.
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
  const bool fits = order == controls.end() || (order->second.ToLong() >= kFewestHighPassOrder &&
                                                order->second.ToLong() <= kMostHighPassOrder);
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
  for (const skylake::Field& field : block.fields) {
    const std::int64_t value = ReadField(bytes, field.offset, field.type);
    if (value < field.low || value > field.high) return ValueReason(field.control, controls);
  }
  return ReasonOf(error, controls);
}

static_assert(kSkylakeControlWriters.size() == skylake::kBlocks.size());

DspBlock Without(const DspRecorder& recorder, std::uint32_t parameter) {
  return {recorder.plan.driver, parameter, {}, 0};
}

void WriteSkylakeFilters(DspRecorder& recorder, KELAPOIntelDSP_SKL& writers,
                         const ControlValueMap& controls, std::uint8_t apply) {
  const ErrorCapture capture;
  writers.SetVQ3DHPFAEQControls(controls, apply);
  for (const std::uint32_t parameter : {skylake::kLeftFilter, skylake::kRightFilter})
    if (!recorder.Has(parameter))
      recorder.plan.missing.push_back(
          {Without(recorder, parameter), SkylakeFilterReason(capture.error(), controls)});
}

void WriteSkylake(DspRecorder& recorder, const ControlValueMap& controls, bool whole,
                  std::uint8_t apply) {
  SkylakeRecorder driver(recorder);
  KELAPOIntelDSP_SKL writers(driver);
  if (!whole) return WriteSkylakeFilters(recorder, writers, controls, apply);
  KELAPOIntelDSP_SKL::ClearCache();
  for (std::size_t i = 0; i < skylake::kBlocks.size(); ++i) {
    const skylake::Block& block = skylake::kBlocks[i];
    const ErrorCapture capture;
    const HRESULT status = (writers.*kSkylakeControlWriters[i])(controls, apply);
    if (recorder.Has(block.parameter)) continue;
    auto& gaps = FAILED(status) ? recorder.plan.missing : recorder.plan.kept;
    const std::string reason = SkylakeBlockReason(block, controls, capture.error());
    gaps.push_back({Without(recorder, block.parameter), reason});
    if (block.parameter == skylake::kVQ3D)
      gaps.push_back({Without(recorder, skylake::kCommonConfig), reason});
  }
  WriteSkylakeFilters(recorder, writers, controls, apply);
  recorder.plan.module = KELAPOIntelDSP_SKL::CachedProcessEnable();
}

// What one processor sends; the others go on when it gives up.
void WriteBroadwellPart(DspRecorder& recorder, const ControlValueMap& controls,
                        std::initializer_list<std::uint32_t> parameters,
                        const std::function<void()>& process) {
  const ErrorCapture capture;
  std::string error;
  try {
    process();
  } catch (const std::exception& failure) {
    error = failure.what();
  }
  if (error.empty()) error = capture.error();
  if (error.empty()) error = "a band is out of range, or there are too many";
  for (const std::uint32_t parameter : parameters)
    if (!recorder.Has(parameter))
      recorder.plan.missing.push_back({Without(recorder, parameter), ReasonOf(error, controls)});
}

void WriteBroadwellHighPass(DspRecorder& recorder, KELAPOIntelDSP_BRW& processors,
                            const ControlValueMap& controls, std::uint8_t apply) {
  WriteBroadwellPart(recorder, controls, {broadwell::kHighPassCoefficients}, [&] {
    try {
      processors.ProcessHPFControls(controls, apply);
    } catch (const IntelException& error) {
      const std::string text = error.what();
      if (!text.starts_with("HPF - ")) throw;
      const bool order = text.find("order") != std::string::npos;
      throw IntelException(order ? "ZENSND-HPF Order" : "ZENSND-HPF Frequency", text);
    }
  });
}

void WriteBroadwellEqualizer(DspRecorder& recorder, KELAPOIntelDSP_BRW& processors,
                             const ControlValueMap& controls, std::uint32_t channel,
                             std::uint8_t apply) {
  const std::uint32_t parameter =
      channel == KELAPOIntelDSP_BRW::kLeft ? broadwell::kLeftEqualizer : broadwell::kRightEqualizer;
  WriteBroadwellPart(recorder, controls, {parameter},
                     [&] { processors.ProcessPEQControls(controls, apply, channel); });
}

void WriteBroadwell(DspRecorder& recorder, const ControlValueMap& controls,
                    const std::string& technology, std::uint8_t apply) {
  BroadwellRecorder driver(recorder);
  KELAPOIntelDSP_BRW processors(driver);
  const bool whole = technology.empty();
  if (whole || technology == kHighPass)
    WriteBroadwellHighPass(recorder, processors, controls, apply);
  if (whole) {
    WriteBroadwellPart(recorder, controls, {broadwell::kEvenvolume},
                       [&] { processors.ProcessEvenvolumeControls(controls, apply); });
    WriteBroadwellPart(recorder, controls, {broadwell::kHardLimiter},
                       [&] { processors.ProcessHLControls(controls, apply); });
    WriteBroadwellPart(recorder, controls, {broadwell::kAmhd},
                       [&] { processors.ProcessAMHDControls(controls, apply); });
    WriteBroadwellPart(recorder, controls,
                       {broadwell::kProcessEnable, broadwell::kInputGain, broadwell::kOutputGain,
                        broadwell::kBypassGain, broadwell::kHeadroomGain,
                        broadwell::kHighPassEnable, broadwell::kEqualizerEnable},
                       [&] { processors.ProcessGlobalControls(controls, apply); });
  }
  if (whole || technology == "PEQLEFT" || technology == "PEQALL")
    WriteBroadwellEqualizer(recorder, processors, controls, KELAPOIntelDSP_BRW::kLeft, apply);
  if (whole || technology == "PEQRIGHT" || technology == "PEQALL")
    WriteBroadwellEqualizer(recorder, processors, controls, KELAPOIntelDSP_BRW::kRight, apply);
}

}  // namespace

DspPlan PlanMode(const std::string& driver, const ControlValueMap& controls,
                 const std::string& technology, std::uint8_t apply, DspReadback* held) {
  const DiagnosticCapture quiet([](std::wstring_view) {});
  DspRecorder recorder(driver, held);
  if (driver == kSkylakeDriver) {
    WriteSkylake(recorder, controls, technology.empty(), apply);
  } else {
    WriteBroadwell(recorder, controls, technology, apply);
  }
  return std::move(recorder.plan);
}

DspPlan PlanQualcommMode(const QualcommControls& controls, std::uint32_t form_factor) {
  const DiagnosticCapture quiet([](std::wstring_view) {});
  DspRecorder recorder(kQualcommDriver, nullptr);
  for (const QualcommParameter parameter : kQualcommSendingOrder) {
    const std::wstring_view needed = QualcommRecordNeeds(parameter);
    if (!needed.empty() && controls.find(needed) == controls.end()) {
      recorder.plan.kept.push_back(
          {Without(recorder, parameter), "the mode has no \"" + Utf8FromName(needed) + "\""});
      continue;
    }
    const QualcommRecord record(parameter, controls);
    HRESULT status = S_OK;
    recorder.Set(status, parameter, record.payload().data(),
                 static_cast<std::uint32_t>(record.payload().size()), form_factor);
  }
  return std::move(recorder.plan);
}

DspProperty PlanProperty(const std::string& driver, const std::string& name, const VARIANT& value,
                         const ControlValueMap& mode, std::uint8_t apply, DspReadback* held) {
  const ErrorCapture capture;
  DspRecorder recorder(driver, held);
  DspProperty property;
  try {
    if (driver == kSkylakeDriver) {
      SkylakeRecorder skylake(recorder);
      ORVQVTValueList list;
      for (const auto& [control, held_value] : mode) list.GetOrAdd(control) = held_value;
      property.status =
          KELAPOIntelDSP_SKL(skylake).SetControl(NameFromUtf8(name), value, list, apply);
    } else {
      BroadwellRecorder broadwell(recorder);
      property.status = KELAPOIntelDSP_BRW(broadwell).SetProperty(NameFromUtf8(name), apply, value);
    }
  } catch (const IntelException& error) {
    property.status = orv_apo::kAborted;
    property.reason = ReasonOf(error.what(), {});
  }
  property.plan = std::move(recorder.plan);
  if (!property.plan.sends_anything() && property.reason.empty() && !capture.error().empty())
    property.reason = ReasonOf(capture.error(), mode);
  return property;
}

std::optional<DspPlace> FindProperty(const std::string& driver, const std::string& name) {
  const std::string control = Narrow(NameFromUtf8(name));
  if (driver == kSkylakeDriver) {
    const auto place = FindSkylakeControl(control);
    if (!place) return std::nullopt;
    return DspPlace{place->parameter, place->offset};
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
      plan.missing.push_back({block, "a band is out of range, or there are too many"});
    } else {
      plan.blocks.push_back(block);
    }
  }
  return plan;
}

ControlValueMap IntelControls(const Mode& mode, ORVAPOControlType list) {
  ControlValueMap controls;
  for (const auto& [name, value] : DspControls(kSkylakeDriver, mode, list)) {
    const std::string narrow = Narrow(name);
    controls.insert_or_assign(narrow, ORVQVTValue(narrow, value));
  }
  return controls;
}

}  // namespace orv::cli
