// The control blocks of the Skylake post-processing module as tables of their fields. Writers,
// range checks, single-control writes, comparison and decoder walk the same rows.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "intel_dsp/conversion/converters.h"
#include "records/fields.h"

namespace orv::skylake {

enum Parameter : std::uint32_t {
  kVQ3D = 0x10014401,
  kEVolHD,
  kVocalift,
  kCommon,
  kPX3D,
  kMXHP,
  kGEQ,
  kTone,
  kAEQ,
  kMasterVolume,
  kHardLimiter,
  kAdvancedGains,
  kLeftFilter,
  kRightFilter,
  kBassFilters,
  kSpaceFilter,
  kCommonConfig,
};
static_assert(kCommonConfig == 0x10014411);

using records::Conversion;
using records::Field;
using records::kLargest32;
using records::RowOf;

// The smallest and largest gain of a graphic equaliser band, Q4.12: about -15 and +15 dB.
constexpr std::int64_t kLowestBandGain = 725;
constexpr std::int64_t kHighestBandGain = 23060;

namespace rows {

using namespace records::rows;

constexpr Field Band(std::size_t offset, const char* control) {
  return {offset, FieldType::I16, Conversion::BandGain, control, kLowestBandGain, kHighestBandGain,
          4};
}

}  // namespace rows

inline constexpr Field kVQ3DFields[] = {
    rows::Switch(0, "VQ3D-Process Enable"),
    rows::Gain(4, "VQ3D-Headroom Gain"),
    rows::Gain(6, "VQ3D-Bypass Gain"),
    rows::Choice(8, "VQ3D-Main Tech", Conversion::MainTech, 0, 5),
    rows::Switch(12, "VQ3D-HPF Enable"),
};
inline constexpr const Field& kProcessEnable = RowOf(kVQ3DFields, "VQ3D-Process Enable");
inline constexpr const Field& kHighPassSwitch = RowOf(kVQ3DFields, "VQ3D-HPF Enable");

inline constexpr Field kCommonConfigFields[] = {
    {0, FieldType::U32, Conversion::SampleRate, "sample rate"},
};

inline constexpr Field kEVolHDFields[] = {
    rows::Switch(0, "VQ3D-EVolHD Enable"),
    rows::Gain(4, "VQ3D-EVolHD LKFS"),
    rows::Reserved(6),
    rows::Intensity(8, "VQ3D-EVolHD Level Intensity"),
};

inline constexpr Field kVocaliftFields[] = {
    rows::Switch(0, "VQ3D-Vocalift Enable"),
    rows::Gain(4, "VQ3D-Vocalift Clarity Gain"),
    rows::Reserved(6),
    // 0.5 to 3.0
    {8, FieldType::U32, Conversion::ProcessGain, "VQ3D-Vocalift Process Gain", 0x10000000,
     0x60000000, 3},
};

inline constexpr Field kCommonFields[] = {
    rows::Switch(0, "VQ3D-DPHD Enable"),
    rows::Level(4, "VQ3D-DPHD Level", Conversion::BassLevel),
    rows::Reserved(6),
    rows::Choice(8, "VQ3D-DPHD Speaker Audio Size", Conversion::SpeakerSize, 0, 9),
    rows::Choice(12, "VQ3D-DPHD Speaker Analysis Size", Conversion::SpeakerSize, 0, 9),
    rows::Switch(16, "VQ3D-DPHD Split Analysis Enable"),
    rows::Switch(20, "VQ3D-DPHD Level Independent Enable"),
    rows::Choice(24, "VQ3D-DPHD Mode", Conversion::DPHDMode, 0, 2),
    rows::Level(28, "VQ3D-DPHD Compressor Level"),
    rows::Level(30, "VQ3D-DPHD Bass Clarity Level"),
    rows::Switch(32, "VQ3D-Definition Enable"),
    rows::Level(36, "VQ3D-Definition Level", Conversion::DefinitionLevel),
    rows::Reserved(38),
};
inline constexpr const Field& kAudioSize = RowOf(kCommonFields, "VQ3D-DPHD Speaker Audio Size");

inline constexpr Field kPX3DFields[] = {
    rows::Switch(0, "VQ3D-DC Enable"),
    rows::Level(4, "VQ3D-DC Level", Conversion::ClarityLevel),
    rows::Level(6, "VQ3D-Ambiwide Level"),
    rows::Level(8, "VQ3D-WIDHD ORV3D Space Level"),
    rows::Level(10, "VQ3D-WIDHD ORV3D Center Level"),
    rows::Level(12, "VQ3D-WIDHD Focus Level", Conversion::FocusLevel),
    rows::Reserved(14),
    rows::Switch(16, "VQ3D-Space HPF Enable"),
    rows::Choice(20, "VQ3D-Space HPF Cutoff Freq", Conversion::SpaceCutoff, 0, kLargest32),
    rows::Switch(24, "VQ3D-PX3D Surround Boost Enable"),
};
inline constexpr const Field& kClarityLevel = RowOf(kPX3DFields, "VQ3D-DC Level");
inline constexpr const Field& kSpaceCutoff = RowOf(kPX3DFields, "VQ3D-Space HPF Cutoff Freq");

inline constexpr Field kMXHPFields[] = {
    rows::Switch(0, "VQ3D-MXHP MX Decoder Enable"),
    rows::Choice(4, "VQ3D-MXHP MX Decoder Mode", Conversion::DecoderMode, 1, kLargest32),
    rows::Switch(8, "VQ3D-DC Enable", Conversion::HeadphoneClarityEnable),
    rows::Level(12, "VQ3D-DC Level", Conversion::HeadphoneClarityLevel),
    rows::Reserved(14),
};

inline constexpr Field kGEQFields[] = {
    rows::Switch(0, "VQ3D-GEQ Enable"),
    rows::Band(4, "VQ3D-GEQ 100Hz Gain"),
    rows::Band(6, "VQ3D-GEQ 300Hz Gain"),
    rows::Band(8, "VQ3D-GEQ 1kHz Gain"),
    rows::Band(10, "VQ3D-GEQ 3kHz Gain"),
    rows::Band(12, "VQ3D-GEQ 10kHz Gain"),
    rows::Reserved(14),
};
inline constexpr std::span kBandFields = std::span(kGEQFields).subspan<1, 5>();

inline constexpr Field kToneFields[] = {
    rows::Switch(0, "VQ3D-Tone Enable"),
    rows::Number(4, FieldType::I32, "VQ3D-Bass Gain", -12, 12),
    rows::Number(8, FieldType::I32, "VQ3D-Treble Gain", -12, 12),
};

inline constexpr Field kAEQFields[] = {
    rows::Switch(0, "VQ3D-AEQ Enable"),
    rows::Gain(4, "VQ3D-AEQ Bypass Gain"),
    rows::Reserved(6),
};

inline constexpr Field kMasterVolumeFields[] = {
    rows::Switch(0, "VQ3D-Master Volume Enable"),
    rows::Number(4, FieldType::U32, "VQ3D-Master Volume Volume Step", 0, 100),
    rows::Number(8, FieldType::I32, "VQ3D-Master Volume L/R Balance", -10, 10),
    rows::Switch(12, "VQ3D-Master Volume Output Mute Enable"),
};

inline constexpr Field kHardLimiterFields[] = {
    rows::Switch(0, "VQ3D-Hard Limiter Enable"),
    rows::Gain(4, "VQ3D-Hard Limiter Output Gain", 3),
    rows::Reserved(6),
    {8, FieldType::U32, Conversion::Integer, "VQ3D-Hard Limiter Delay Length", 60, 240, 0, 1,
     /*alone=*/false},
    rows::Switch(12, "VQ3D-Hard Limiter Anticlip Enable"),
    rows::Level(16, "VQ3D-Hard Limiter Anticlip Level"),
    rows::Reserved(18),
};

inline constexpr Field kAdvancedGainFields[] = {
    rows::Reserved(0),
    rows::Gain(2, "VQ3D-WIDHD Input Gain"),
    rows::Gain(4, "VQ3D-AMHD Input Gain"),
    rows::Gain(6, "VQ3D-PX3D Input Gain"),
    rows::Gain(8, "VQ3D-MXHP Input Gain"),
    rows::Gain(10, "VQ3D-DPHD Input Gain"),
    rows::Gain(12, "VQ3D-GEQ Input Gain"),
    rows::Gain(14, "VQ3D-Tone Input Gain"),
    rows::Gain(16, "VQ3D-AEQ Input Gain"),
    rows::Gain(18, "VQ3D-DPHD Reference Offset", 4),
    rows::Gain(20, "VQ3D-Hard Limiter Boost Offset", 6, FieldType::I32),
};
inline constexpr const Field& kToneInputGain = RowOf(kAdvancedGainFields, "VQ3D-Tone Input Gain");

// Large enough for every control block; a block is zeroed before it is filled.
using BlockBytes = std::array<std::byte, 40>;

// Coefficients that must reach the module before the block that selects them.
struct CoefficientWrite {
  std::uint32_t parameter;
  std::vector<std::int32_t> words;
};
// Returns nullopt if the block does not select custom coefficients.
using CoefficientDesign = std::optional<CoefficientWrite> (*)(const BlockBytes& block,
                                                              const ControlValueMap& map);
std::optional<CoefficientWrite> DesignBassCoefficients(const BlockBytes& block,
                                                       const ControlValueMap& map);
std::optional<CoefficientWrite> DesignSpaceCoefficients(const BlockBytes& block,
                                                        const ControlValueMap& map);

// Properties of single blocks.
struct BlockExtras {
  CoefficientDesign coefficients = nullptr;
  // Reported by a single-control write if the block cannot be read.
  const wchar_t* read_failure = L"Error: [%s] set aborted. DSP GetParameter() failed.";
  // Reported if controls are missing and the DSP keeps its block.
  const wchar_t* ignored = nullptr;
};

struct Block : BlockExtras {
  std::uint32_t parameter;
  const char* name;
  const char* writer;  // Class::Method, as diagnostic lines name it
  std::span<const Field> fields;
  std::size_t size;
};

// A table that does not cover a record of `size` bytes does not compile.
consteval Block MakeBlock(std::uint32_t parameter, const char* name, const char* writer,
                          std::span<const Field> fields, std::size_t size,
                          const BlockExtras& extras = {}) {
  if (!TilesRecord(fields, size)) throw "fields leave a gap or overlap";
  return {extras, parameter, name, writer, fields, size};
}

// In the order of their identifiers, in which they are sent.
inline constexpr std::array<Block, 12> kBlocks = {
    MakeBlock(kVQ3D, "KEL_PARAM_VQSND3D_VQ3D_CONTROLS_STU", "KELAPOIntelDSP_SKL::SetVQ3DControls",
              kVQ3DFields, 16),
    MakeBlock(kEVolHD, "KEL_PARAM_VQSND3D_EVOLHD_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DEVolHDControls", kEVolHDFields, 12,
              {.read_failure = L"Error: [%s] set failed. DSP GetParameter() failed."}),
    MakeBlock(kVocalift, "KEL_PARAM_VQSND3D_VCLG_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DVocadiagControls", kVocaliftFields, 12),
    MakeBlock(kCommon, "KEL_PARAM_VQSND3D_COMMONCONTROLS_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DCommonControls", kCommonFields, 40,
              {DesignBassCoefficients}),
    MakeBlock(kPX3D, "KEL_PARAM_VQSND3D_PX3D_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DPX3DControls", kPX3DFields, 28,
              {DesignSpaceCoefficients}),
    MakeBlock(kMXHP, "KEL_PARAM_VQSND3D_MXHP_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DMXHPControls", kMXHPFields, 16),
    MakeBlock(kGEQ, "KEL_PARAM_VQSND3D_GEQ_CONTROLS_STU", "KELAPOIntelDSP_SKL::SetVQ3DGEQControls",
              kGEQFields, 16),
    MakeBlock(kTone, "KEL_PARAM_VQSND3D_TONE_CONTROLS_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DToneControls", kToneFields, 12,
              {.ignored = L"VQ3D Tone Controls are ignored: %S\n"}),
    MakeBlock(kAEQ, "KEL_PARAM_VQSND3D_AEQ_CONTROLS_STU", "KELAPOIntelDSP_SKL::SetVQ3DAEQControls",
              kAEQFields, 8),
    MakeBlock(kMasterVolume, "KEL_PARAM_VQSND3D_MVOL_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DMvolControls", kMasterVolumeFields, 16,
              {.ignored = L"VQ3D-Master Volume controls are ignored: %S\n"}),
    MakeBlock(kHardLimiter, "KEL_PARAM_VQSND3D_HARDLIMITER_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DHdLmtControls", kHardLimiterFields, 20),
    MakeBlock(kAdvancedGains, "KEL_PARAM_VQSND3D_ADVGAIN_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DAdvGainControls", kAdvancedGainFields, 24,
              {.read_failure =
                   L"Error: [Advance Gain Controls] set aborted. DSP GetParameter() failed."}),
};
inline constexpr Block kCommonConfigBlock =
    MakeBlock(kCommonConfig, "KEL_PARAM_VQSND3D_COMMON_CNFG_CONTROLS_STU",
              "KELAPOIntelDSP_SKL::SetVQ3DControls", kCommonConfigFields, 4);

constexpr std::size_t BlockIndex(std::uint32_t parameter) { return parameter - kVQ3D; }
constexpr const Block& BlockOf(std::uint32_t parameter) { return kBlocks[BlockIndex(parameter)]; }
constexpr bool BlocksAreAtTheirIndex() {
  for (std::size_t i = 0; i < kBlocks.size(); ++i)
    if (BlockIndex(kBlocks[i].parameter) != i || kBlocks[i].size > BlockBytes().size())
      return false;
  return true;
}
static_assert(BlocksAreAtTheirIndex());

}  // namespace orv::skylake
