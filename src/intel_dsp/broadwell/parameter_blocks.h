// The parameters of the Broadwell post-processing module as tables of their fields. Processors,
// single-property operations and the decoder walk the same rows.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "records/fields.h"

namespace orv::broadwell {

enum Parameter : std::uint32_t {
  kProcessEnable = 0,
  kInputGain = 1,
  kOutputGain = 2,
  kBypassGain = 3,
  kHeadroomGain = 4,
  kHighPassEnable = 5,
  kEqualizerEnable = 6,
  kEvenvolume = 20,
  kAmhd = 21,
  kHardLimiter = 22,
  kHighPassCoefficients = 24,
  kLeftEqualizer = 25,
  kRightEqualizer = 26,
  kBassCoefficients = 100,
  kSpaceCoefficients = 101,
};

using records::Conversion;
using records::Field;

struct Block {
  std::uint32_t parameter;
  const char* name;
  std::size_t size;
  std::span<const Field> fields;
};

namespace rows = records::rows;

inline constexpr Field kProcessEnableFields[] = {rows::Switch(0, "ZENSND-Process Enable")};
inline constexpr Field kInputGainFields[] = {rows::Gain(0, "ZENSND-AMHD Input Gain")};
inline constexpr Field kOutputGainFields[] = {rows::Gain(0, "ZENSND-AMHD Output Gain")};
inline constexpr Field kBypassGainFields[] = {rows::Gain(0, "ZENSND-Bypass Gain")};
inline constexpr Field kHeadroomGainFields[] = {rows::Gain(0, "ZENSND-Headroom Gain")};
inline constexpr Field kHighPassEnableFields[] = {
    {.offset = 0,
     .type = FieldType::U32,
     .conversion = Conversion::Bool,
     .control = "ZENSND-HPF Enable",
     .fallback = "MFX:ZENSND-HPF Enable"},
};
inline constexpr Field kEqualizerEnableFields[] = {rows::Switch(0, "ZENSND-AEQ Enable")};

inline constexpr Field kEvenvolumeFields[] = {
    rows::Switch(0, "ZENSND-EVolHD Enable"),
    rows::Gain(4, "ZENSND-EVolHD LKFS"),
    rows::Reserved(6),
    rows::Intensity(8, "ZENSND-EVolHD Level Intensity"),
};

inline constexpr Field kAmhdFields[] = {
    rows::Switch(0, "ZENSND-AMHD Enable"),
    rows::Choice(4, "ZENSND-AMHD Input Mode", Conversion::InputMode),
    rows::Switch(8, "ZENSND-Surround Enable"),
    rows::Level(12, "ZENSND-Surround Level"),
    rows::Reserved(14),
    rows::Switch(16, "ZENSND-Space HPF Enable"),
    rows::Choice(20, "ZENSND-Space HPF Custom Freq", Conversion::SpaceCutoff),
    rows::Switch(24, "ZENSND-DC Enable"),
    rows::Level(28, "ZENSND-DC Level"),
    rows::Level(30, "ZENSND-WIDHDX ORV3D Space Level"),
    rows::Level(32, "ZENSND-WIDHDX ORV3D Center Level"),
    rows::Reserved(34),
    rows::Switch(36, "ZENSND-WIDHDX Headphone Enable"),
    rows::Switch(40, "ZENSND-WIDHDX High Bit Rate Enable"),
    rows::Choice(44, "ZENSND-WIDHDX ORV3D Mode", Conversion::ORV3DMode),
    rows::Switch(48, "ZENSND-DPHD Enable"),
    rows::Level(52, "ZENSND-DPHD Level"),
    rows::Reserved(54),
    rows::Choice(56, "ZENSND-DPHD Speaker Audio Size", Conversion::SpeakerSize),
    rows::Choice(60, "ZENSND-DPHD Speaker Analysis Size", Conversion::SpeakerSize),
    rows::Switch(64, "ZENSND-DPHD Split Analysis Enable"),
    rows::Choice(68, "ZENSND-DPHD Mode", Conversion::DPHDMode),
    rows::Level(72, "ZENSND-DPHD Bass Clarity Level"),
    rows::Reserved(74),
    rows::Switch(76, "ZENSND-Definition Enable"),
    rows::Level(80, "ZENSND-Definition Level"),
    rows::Reserved(82),
    rows::Switch(84, "ZENSND-WIDHDX Focus Enable"),
    rows::Level(88, "ZENSND-WIDHDX Focus Level"),
    rows::Reserved(90),
};

inline constexpr Field kHardLimiterFields[] = {
    rows::Switch(0, "ZENSND-Hard Limiter Enable"),
    rows::Number(4, FieldType::U32, "ZENSND-Hard Limiter Delay Len", 0, records::kLargest32),
    rows::Gain(8, "ZENSND-Hard Limiter Boost Gain", 6, FieldType::I32),
    rows::Gain(12, "ZENSND-Hard Limiter Output Gain", 3),
    rows::Reserved(14),
};

// The single values come first, in the order in which they are sent.
inline constexpr Block kBlocks[] = {
    {kProcessEnable, "Process Enable", 4, kProcessEnableFields},
    {kInputGain, "AMHD Input Gain", 2, kInputGainFields},
    {kOutputGain, "AMHD Output Gain", 2, kOutputGainFields},
    {kBypassGain, "Bypass Gain", 2, kBypassGainFields},
    {kHeadroomGain, "Headroom Gain", 2, kHeadroomGainFields},
    {kHighPassEnable, "HPF Enable", 4, kHighPassEnableFields},
    {kEqualizerEnable, "AEQ Enable", 4, kEqualizerEnableFields},
    {kEvenvolume, "Evenvolume", 12, kEvenvolumeFields},
    {kAmhd, "AMHD", 92, kAmhdFields},
    {kHardLimiter, "Hard Limiter", 16, kHardLimiterFields},
};
inline constexpr std::size_t kSingleValues = 7;
static_assert(kBlocks[kSingleValues - 1].parameter == kEqualizerEnable);
static_assert(std::ranges::all_of(kBlocks, [](const Block& block) {
  return TilesRecord(block.fields, block.size);
}));

// Of constants alone: a parameter without a block does not compile.
consteval const Block& BlockOf(Parameter parameter) {
  const Block* block = kBlocks;
  while (block->parameter != parameter) ++block;
  return *block;
}
// The place of a control's field; null if there is none.
struct FieldPlace {
  const Block* block = nullptr;
  const Field* field = nullptr;
};
FieldPlace FindField(std::string_view control);

// A parameter's name and its fields as text. Empty for an unknown parameter; no fields if the size
// is not the parameter's.
std::string BlockName(std::uint32_t parameter);
std::vector<DecodedField> DecodeBlock(std::uint32_t parameter, std::span<const std::byte> block);

}  // namespace orv::broadwell
