#include <algorithm>
#include <utility>

#include "dsp_math/filter_design.h"
#include "dsp_math/fixed_point.h"
#include "intel_dsp/conversion/enumeration_tables.h"
#include "intel_dsp/equalizer_bands.h"
#include "intel_dsp/skylake/blocks.h"
#include "platform/diagnostics.h"

namespace orv::skylake {
namespace {

using Utils = KELAPOIntelDSP_Utils;

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

void FillSpaceCutoff(const Field& field, const ControlValueMap& map, std::uint32_t& code) {
  try {
    return Utils::SetAMHDSpaceHPF(field.control, map, code);
  } catch (const IntelException& missing) {
    Diagnose(ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DPX3DControls"),
             L"MSG: VQ3D-Space HPF Cutoff Freq is not found %S\n", missing.what());
  }
  Utils::SetAMHDSpaceHPF("VQ3D-Space HPF Custom Freq", map, code);
}

void FillBandGain(const Field& field, const ControlValueMap& map, std::int16_t& gain) {
  const std::string name = field.control;
  if (!Utils::SetGainValue_Float(name + " Float", map, gain, kBandGainScale))
    Utils::SetDbValue(name, map, gain, intel::kTenthsOfDecibel, field.integer_bits);
  gain = static_cast<std::int16_t>(std::clamp<std::int64_t>(gain, field.low, field.high));
}

// Without a clarity level of its own the headphone takes what is left of an older pair of controls.
void FillHeadphoneClarityEnable(const Field& field, const ControlValueMap& map,
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

void ConvertField(const Field& field, const ControlValueMap& map, BlockBytes& bytes) {
  const auto fill_word = [&](auto convert) { intel::FillAs<std::uint32_t>(field, bytes, convert); };
  const auto fill_level = [&](auto convert) { intel::FillAs<std::int16_t>(field, bytes, convert); };
  const auto store = [&](std::int64_t value) {
    StoreField(bytes, field.offset, field.type, value);
  };
  switch (field.conversion) {
    case Conversion::SpaceCutoff:
      return fill_word([&](std::uint32_t& code) { FillSpaceCutoff(field, map, code); });
    case Conversion::MainTech:
      return fill_word([&](std::uint32_t& code) {
        Utils::SetMainTechStr_VQ3D(field.control, map, code);
        if (code > kLastMainTech) code = 0;
      });
    case Conversion::BandGain:
      return fill_level([&](std::int16_t& gain) { FillBandGain(field, map, gain); });
    case Conversion::BassLevel:
      return store(BassLevel(map));
    case Conversion::DefinitionLevel:
      return store(DefinitionLevel(map));
    case Conversion::ClarityLevel:
      return store(ClarityLevel(map, ORV_HERE("KELAPOIntelDSP_SKL::SetVQ3DPX3DControls"),
                                L"MSG: VQ3D DC Max Level is not found %S\n"));
    case Conversion::FocusLevel:
      return store(ReadField(bytes, kClarityLevel.offset, kClarityLevel.type));
    case Conversion::HeadphoneClarityEnable:
      return fill_word(
          [&](std::uint32_t& enable) { FillHeadphoneClarityEnable(field, map, enable); });
    case Conversion::HeadphoneClarityLevel:
      return fill_level([&](std::int16_t& level) { FillHeadphoneClarityLevel(map, level); });
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
      ConvertField(field, map, bytes);
    } catch (const IntelException& error) {
      if (!rescue || !rescue(field, error, bytes)) throw;
    }
  }
}

bool InRange(const Block& block, const BlockBytes& bytes) {
  for (const Field& field : block.fields) {
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
  CoefficientWrite write{kBassFilters, {}, kBassEnhancementWords};
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
  CoefficientWrite write{kSpaceFilter, {}, FilterWords(1)};
  Workspace workspace;
  DesignButterworth32(frequency, 2, kIntelSampleRate, kButterworthHighPass, write.words.data(),
                      workspace.data());
  return write;
}

}  // namespace orv::skylake
