// The Skylake module's own conversions, and the coefficients that a block selects.
#include <algorithm>

#include "dsp_math/filter_design.h"
#include "dsp_math/fixed_point.h"
#include "intel_dsp/conversion/enumeration_tables.h"
#include "intel_dsp/filter_designs.h"
#include "intel_dsp/skylake/blocks.h"
#include "platform/diagnostics.h"

namespace orv::skylake {
namespace {

using Utils = KELAPOIntelDSP_Utils;
using Number = Utils::Number;

constexpr float kBandGainScale = 4096.0F;
constexpr Number kLastMainTech = 5;
constexpr const char* kClarityControl = "VQ3D-DC Level";

double Fraction(const char* control, const ControlValueMap& map) {
  return intel::IntegerOf(control, map) / 100.0;
}

// The factor by which a level may at most be scaled.
double MaxLevel(const char* control, const ControlValueMap& map) {
  return std::clamp(Fraction(control, map), 0.1, 1.0);
}

std::int16_t ClarityLevel(const ControlValueMap& map, const DiagnosticSite& site,
                          const wchar_t* no_maximum) {
  double level = Fraction(kClarityControl, map);
  try {
    level *= MaxLevel("VQ3D-DC Max Level", map);
  } catch (const IntelException& error) {
    Diagnose(site, no_maximum, error.what());
  }
  return ToFixed16(level, 1);
}

std::int16_t BassLevel(const ControlValueMap& map) {
  const double level = Fraction("VQ3D-DPHD Level", map);
  const double maximum = MaxLevel("VQ3D-DPHD Max Level", map);
  const bool boost = Fraction("VQ3D-DPHD Boost Enable", map) != 0;
  const double split = std::clamp(Fraction("VQ3D-DPHD Boost Split", map), 0.0, 1.0);
  if (split >= 1.0) return ToFixed16(level * maximum, 1);
  // The part below the split is always on while boosting, and all there is without.
  const double below = maximum * split;
  return ToFixed16(boost ? (maximum - below) * level + below : level * below, 1);
}

std::int16_t DefinitionLevel(const ControlValueMap& map) {
  const double level = Fraction("VQ3D-Definition Level", map);
  return ToFixed16(level * MaxLevel("VQ3D-Definition Max Level", map), 1);
}

void FillSpaceCutoff(const Utils::Control& control, Number& code) {
  try {
    return Utils::SetAMHDSpaceHPF(control, code);
  } catch (const IntelException& missing) {
    Diagnose(ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DPX3DControls"),
             L"MSG: VQ3D-Space HPF Cutoff Freq is not found %S\n", missing.what());
  }
  Utils::SetAMHDSpaceHPF({"VQ3D-Space HPF Custom Freq", control.map}, code);
}

void FillMainTech(const Utils::Control& control, Number& code) {
  Utils::SetMainTechStr_VQ3D(control, code);
  if (code < 0 || code > kLastMainTech) code = 0;
}

void FillBandGain(const Utils::Control& control, Number& gain, const Field& field) {
  if (!Utils::SetGainValue_Float({control.name + " Float", control.map}, gain, kBandGainScale))
    Utils::SetDbValue(control, gain, field.bits(), field.integer_bits);
  gain = std::clamp(gain, field.low, field.high);
}

// Without a clarity level the headphone uses an older pair of controls.
void FillHeadphoneClarityEnable(const Utils::Control& control, Number& enable) {
  if (control.map.contains(kClarityControl)) return Utils::SetBoolField(control, enable);
  const IntelException missing(kClarityControl, "Can't find integer value.");
  Diagnose(ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DMXHPControls"),
           L"MSG:VQ3D DC Level is not found %S\n", missing.what());
  Utils::SetBoolField({"VQ3D-MXHP DialogClarity Enable", control.map}, enable);
}
void FillHeadphoneClarityLevel(const Utils::Control& control, Number& level) {
  const ControlValueMap& map = control.map;
  if (map.contains(kClarityControl))
    level = ClarityLevel(map, ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DMXHPControls"),
                         L"MSG:VQ3D DC Max Level is not found %S\n");
  else
    Utils::SetPercentValue({"VQ3D-MXHP DialogClarity Level", map}, level, 1);
}

// A loudspeaker size or cut-off in Hz that a filter can be made of.
std::int32_t Frequency(const char* control, const ControlValueMap& map) {
  const std::int32_t hertz = intel::IntegerOf(control, map);
  if (!IsFrequency(hertz)) throw IntelException(control, "frequency out of range");
  return hertz;
}

}  // namespace

void FillField(const Field& field, const ControlValueMap& map, BlockBytes& bytes) {
  const Utils::Control control{field.control, map};
  const auto store = [&](Number number) { field.Store(bytes, number); };
  const auto fill = [&](auto convert, const auto&... more) {
    Number number = field.Read(bytes);
    convert(control, number, more...);
    store(number);
  };
  switch (field.conversion) {
    case Conversion::SpaceCutoff:
      return fill(FillSpaceCutoff);
    case Conversion::MainTech:
      return fill(FillMainTech);
    case Conversion::BandGain:
      return fill(FillBandGain, field);
    case Conversion::BassLevel:
      return store(BassLevel(map));
    case Conversion::DefinitionLevel:
      return store(DefinitionLevel(map));
    case Conversion::ClarityLevel:
      return store(ClarityLevel(map, ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DPX3DControls"),
                                L"MSG: VQ3D DC Max Level is not found %S\n"));
    case Conversion::FocusLevel:
      return store(kClarityLevel.Read(bytes));
    case Conversion::HeadphoneClarityEnable:
      return fill(FillHeadphoneClarityEnable);
    case Conversion::HeadphoneClarityLevel:
      return fill(FillHeadphoneClarityLevel);
    case Conversion::SampleRate:
      return store(kIntelSampleRate);
    default:
      return intel::FillField(field, map, bytes);
  }
}

void FillBlock(const Block& block, const ControlValueMap& map, BlockBytes& bytes,
               const FieldRescue& rescue) {
  for (const Field& field : block.fields) {
    try {
      FillField(field, map, bytes);
    } catch (const IntelException& error) {
      if (!rescue || !rescue(field, error, bytes)) throw;
    }
  }
}

std::optional<CoefficientWrite> DesignBassCoefficients(const BlockBytes& block,
                                                       const ControlValueMap& map) {
  if (kAudioSize.Read(block) != kCustomSizeCode) return std::nullopt;
  constexpr const char* kAudio = "VQ3D-DPHD Speaker Audio Custom Size";
  const std::int32_t audio = Frequency(kAudio, map);
  const std::int32_t analysis = Frequency("VQ3D-DPHD Speaker Analysis Custom Size", map);
  CoefficientWrite write{kBassFilters, DesignBassSet(audio, analysis)};
  if (write.words.empty()) throw IntelException(kAudio, "frequency out of range");
  return write;
}

std::optional<CoefficientWrite> DesignSpaceCoefficients(const BlockBytes& block,
                                                        const ControlValueMap& map) {
  if (kSpaceCutoff.Read(block) != kCustomSizeCode) return std::nullopt;
  const std::int32_t frequency = Frequency("VQ3D-Space HPF Custom Freq", map);
  return CoefficientWrite{kSpaceFilter, DesignHighPass(static_cast<float>(frequency), 2)};
}

}  // namespace orv::skylake
