#include <algorithm>
#include <utility>

#include "dsp_math/filter_design.h"
#include "dsp_math/fixed_point.h"
#include "intel_dsp/conversion/enumeration_tables.h"
#include "intel_dsp/equalizer_bands.h"
#include "intel_dsp/skylake/blocks.h"
#include "platform/diagnostics.h"

namespace orv {
namespace {

using Utils = KELAPOIntelDSP_Utils;

constexpr float kTenthsOfDecibel = 10.0F;
constexpr float kBandGainScale = 4096.0F;
constexpr std::uint32_t kLastMainTech = 5;
constexpr const char* kClarityControl = "VQ3D-DC Level";

double Fraction(const char* control, const ControlValueMap& map) {
  std::int32_t percent = 0;
  Utils::SetIntegerValue(control, map, percent);
  return percent / 100.0;
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

void FillSpaceCutoff(const BlockField& field, const ControlValueMap& map, std::uint32_t& code) {
  try {
    return Utils::SetAMHDSpaceHPF(field.control, map, code);
  } catch (const IntelException& missing) {
    Diagnose(ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DPX3DControls"),
             L"MSG: VQ3D-Space HPF Cutoff Freq is not found %S\n", missing.what());
  }
  Utils::SetAMHDSpaceHPF("VQ3D-Space HPF Custom Freq", map, code);
}

void FillBandGain(const BlockField& field, const ControlValueMap& map, std::int16_t& gain) {
  const std::string name = field.control;
  if (!Utils::SetGainValue_Float(name + " Float", map, gain, kBandGainScale))
    Utils::SetDbValue(name, map, gain, kTenthsOfDecibel, field.integer_bits);
  gain = static_cast<std::int16_t>(std::clamp<std::int64_t>(gain, field.low, field.high));
}

// Without a clarity level of its own the headphone takes what is left of an older pair of controls.
void FillHeadphoneClarityEnable(const BlockField& field, const ControlValueMap& map,
                                std::uint32_t& enable) {
  if (map.contains(kClarityControl)) return Utils::SetBoolField(field.control, map, enable);
  const IntelException missing(kClarityControl, "Can't find integer value.");
  Diagnose(ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DMXHPControls"),
           L"MSG:VQ3D DC Level is not found %S\n", missing.what());
  Utils::SetBoolField("VQ3D-MXHP DialogClarity Enable", map, enable);
}
void FillHeadphoneClarityLevel(const ControlValueMap& map, std::int16_t& level) {
  if (map.contains(kClarityControl))
    level = ClarityLevel(map, ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DMXHPControls"),
                         L"MSG:VQ3D DC Max Level is not found %S\n");
  else
    Utils::SetPercentValue("VQ3D-MXHP DialogClarity Level", map, level, 1);
}

void FillWord(const BlockField& field, const ControlValueMap& map, std::uint32_t& value) {
  switch (field.conversion) {
    case Conversion::Bool:
      return Utils::SetBoolField(field.control, map, value);
    case Conversion::ProcessGain:
      return Utils::SetVocaliftProcessGain(field.control, map, value, kTenthsOfDecibel);
    case Conversion::MainTech:
      Utils::SetMainTechStr_VQ3D(field.control, map, value);
      if (value > kLastMainTech) value = 0;
      return;
    case Conversion::DPHDMode:
      return Utils::SetDPHDMode(field.control, map, value);
    case Conversion::SpeakerSize:
      return Utils::SetDPSizeStr(field.control, map, value);
    case Conversion::SpaceCutoff:
      return FillSpaceCutoff(field, map, value);
    case Conversion::DecoderMode:
      return Utils::SetMXHPDecoderMode(field.control, map, value);
    case Conversion::HeadphoneClarityEnable:
      return FillHeadphoneClarityEnable(field, map, value);
    case Conversion::Integer: {
      std::int32_t number = 0;
      Utils::SetIntegerValue(field.control, map, number);
      value = static_cast<std::uint32_t>(number);
      return;
    }
    default:
      value = static_cast<std::uint32_t>(kIntelSampleRate);
  }
}

void FillSigned(const BlockField& field, const ControlValueMap& map, std::int32_t& value) {
  switch (field.conversion) {
    case Conversion::Decibels:
      return Utils::SetDbValue(field.control, map, value, kTenthsOfDecibel, field.integer_bits);
    case Conversion::LevelIntensity:
      return Utils::SetEVolHDLevelIntensity(field.control, map, value, kTenthsOfDecibel,
                                            field.integer_bits);
    default:
      return Utils::SetIntegerValue(field.control, map, value);
  }
}

void FillLevel(const BlockField& field, const ControlValueMap& map, const BlockBytes& bytes,
               std::int16_t& value) {
  switch (field.conversion) {
    case Conversion::Decibels:
      return Utils::SetDbValue(field.control, map, value, kTenthsOfDecibel, field.integer_bits);
    case Conversion::BandGain:
      return FillBandGain(field, map, value);
    case Conversion::BassLevel:
      value = BassLevel(map);
      return;
    case Conversion::DefinitionLevel:
      value = DefinitionLevel(map);
      return;
    case Conversion::ClarityLevel:
      value = ClarityLevel(map, ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DPX3DControls"),
                           L"MSG: VQ3D DC Max Level is not found %S\n");
      return;
    case Conversion::FocusLevel:
      value = static_cast<std::int16_t>(ReadField(bytes, kClarityLevel.offset, FieldType::I16));
      return;
    case Conversion::HeadphoneClarityLevel:
      return FillHeadphoneClarityLevel(map, value);
    default:
      return Utils::SetPercentValue(field.control, map, value, field.integer_bits);
  }
}

// A loudspeaker size or cut-off in Hz that a filter can be made of.
float Frequency(const char* control, const ControlValueMap& map) {
  std::int32_t hertz = 0;
  Utils::SetIntegerValue(control, map, hertz);
  if (hertz <= 0 || hertz >= kIntelSampleRate / 2)
    throw IntelException(control, "frequency out of range");
  return static_cast<float>(hertz);
}

using Workspace = std::array<std::byte, FilterWorkspace(1)>;

}  // namespace

void ConvertField(const BlockField& field, const ControlValueMap& map, BlockBytes& bytes) {
  if (field.conversion == Conversion::Reserved) return;
  const auto fill = [&](auto value, auto convert) {
    // A converter may leave what the field holds.
    value = static_cast<decltype(value)>(ReadField(bytes, field.offset, field.type));
    convert(value);
    StoreField(bytes, field.offset, field.type, value);
  };
  switch (field.type) {
    case FieldType::I16:
      return fill(std::int16_t{},
                  [&](std::int16_t& value) { FillLevel(field, map, bytes, value); });
    case FieldType::I32:
      return fill(std::int32_t{}, [&](std::int32_t& value) { FillSigned(field, map, value); });
    default:
      return fill(std::uint32_t{}, [&](std::uint32_t& value) { FillWord(field, map, value); });
  }
}

void FillBlock(const SkylakeBlock& block, const ControlValueMap& map, BlockBytes& bytes,
               const FieldRescue& rescue) {
  for (const BlockField& field : block.fields) {
    try {
      ConvertField(field, map, bytes);
    } catch (const IntelException& error) {
      if (!rescue || !rescue(field, error, bytes)) throw;
    }
  }
}

bool InRange(const SkylakeBlock& block, const BlockBytes& bytes) {
  for (const BlockField& field : block.fields) {
    const std::int64_t value = ReadField(bytes, field.offset, field.type);
    if (value >= field.low && value <= field.high) continue;
    const DiagnosticSite site = ORV_HERE(block.writer);
    Diagnose(site, L"%s: %lld is not within %lld...%lld\n", field.control,
             static_cast<long long>(value), static_cast<long long>(field.low),
             static_cast<long long>(field.high));
    return false;
  }
  return true;
}

std::optional<CoefficientWrite> DesignBassCoefficients(const BlockBytes& block,
                                                       const ControlValueMap& map) {
  if (ReadField(block, kAudioSize.offset, FieldType::U32) != kCustomSizeCode) return std::nullopt;
  constexpr const char* kAudio = "VQ3D-DPHD Speaker Audio Custom Size";
  const float audio = Frequency(kAudio, map);
  const float analysis = Frequency("VQ3D-DPHD Speaker Analysis Custom Size", map);
  CoefficientWrite write{kSkylakeBassFilters, {}, kBassEnhancementWords};
  Workspace workspace;
  if (DesignBassEnhancementFilters(audio, analysis, kIntelSampleRate, write.words.data(),
                                   workspace.data()) != kFilterOk)
    throw IntelException(kAudio, "frequency out of range");
  return write;
}

std::optional<CoefficientWrite> DesignSpaceCoefficients(const BlockBytes& block,
                                                        const ControlValueMap& map) {
  if (ReadField(block, kSpaceCutoff.offset, FieldType::U32) != kCustomSizeCode) return std::nullopt;
  const float frequency = Frequency("VQ3D-Space HPF Custom Freq", map);
  CoefficientWrite write{kSkylakeSpaceFilter, {}, FilterWords(1)};
  Workspace workspace;
  DesignButterworth32(frequency, 2, kIntelSampleRate, kButterworthHighPass, write.words.data(),
                      workspace.data());
  return write;
}

}  // namespace orv
