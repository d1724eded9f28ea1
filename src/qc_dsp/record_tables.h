// The driver's six records, row by row.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "qc_dsp/qualcomm_records.h"

namespace orv::qualcomm {

using records::Conversion;
using records::Field;

inline constexpr std::int32_t kMute = -999;         // of a gain in whole decibels
inline constexpr std::int32_t kSampleRate = 48000;  // Hz
inline constexpr std::int32_t kHighestOrder = 8;    // what the high-pass field has room for
inline constexpr int kBands = 4;                    // of the equaliser, a channel
inline constexpr std::size_t kCascadeWords = 26;    // a cascade of four sections
inline constexpr std::size_t kBassWords = 16;       // without the all-pass of the design

inline constexpr std::uint32_t kLargest = 0xFFFFFFFF;

// Bits that are set if the control's value, taken as unsigned, is from `low` to `high`. Rows of one
// control that share a mask exclude one another.
struct Option {
  std::uint32_t mask;
  std::uint32_t bits;
  std::uint32_t low;
  std::uint32_t high;
  const char* control;         // empty for fixed bits
  const char* text = nullptr;  // what the bits mean; null for a switch
};

struct Record {
  QualcommParameter parameter;
  const char* name;
  const wchar_t* needs;
  std::size_t size;
  std::span<const Field> fields;
  std::span<const Option> options = {};
  const char* writer = "";          // reports the sizes of the bass design
  const wchar_t* sizes_line = L"";  // with the analysis and the audio size
};

namespace rows {

using records::rows::Gain;
using records::rows::Level;

constexpr Field Fixed(std::size_t offset, FieldType type, std::int64_t value) {
  return {offset, type, Conversion::Fixed, "fixed value", value};
}
constexpr Field Reserved(std::size_t offset, FieldType type = FieldType::I16,
                         std::size_t count = 1) {
  return {offset, type, Conversion::Fixed, "reserved", 0, 0, 0, count};
}
constexpr Field Options(FieldType type) { return {0, type, Conversion::Options, "option bits"}; }
constexpr Field Words(std::size_t offset, std::size_t count, Conversion conversion) {
  return {offset, FieldType::I32, conversion, "", 0, 0, 0, count};
}

}  // namespace rows

constexpr Option Switch(std::uint32_t bit, const char* control) {
  return {bit, bit, 1, kLargest, control};
}
constexpr Option FixedBits(std::uint32_t bits) { return {bits, bits, 0, kLargest, ""}; }

inline constexpr Option kFlagOptions[] = {
    Switch(0x01, "QUMEDIA-Process Enable"),
    {0x02, 0x02, 1, 1, "QUMEDIA-Main Tech", "widening"},
    {0x04, 0x04, 4, 4, "QUMEDIA-Main Tech", "headphone"},
    Switch(0x08, "QUMEDIA-HPF Enable"),
    Switch(0x10, "QUMEDIA-Link PEQ Enable"),
    Switch(0x20, "QUMEDIA-Hard Limiter Enable"),
};
inline constexpr Field kFlags[] = {
    rows::Options(FieldType::U8),
    rows::Reserved(1, FieldType::U8, 7),
};

inline constexpr Option kWideningOptions[] = {
    Switch(0x01, "QUMEDIA-Limit Enable"),
    Switch(0x02, "QUMEDIA-WIDHDX Enhance Mode"),
    Switch(0x04, "QUMEDIA-DPHD Enable"),
    Switch(0x08, "QUMEDIA-DPHD Split Analysis Enable"),
    Switch(0x10, "QUMEDIA-DC Enable"),
    Switch(0x20, "QUMEDIA-Definition Enable"),
    Switch(0x40, "QUMEDIA-DPHD Mode"),
    FixedBits(0x80),
    {0x700, 0x100, 0, 0, "QUMEDIA-WIDHDX ORV3D Mode", "mode 0"},
    {0x700, 0x200, 1, 1, "QUMEDIA-WIDHDX ORV3D Mode", "mode 1"},
    {0x700, 0x300, 2, 2, "QUMEDIA-WIDHDX ORV3D Mode", "mode 2"},
    {0x700, 0x400, 3, kLargest, "QUMEDIA-WIDHDX ORV3D Mode", "another mode"},
};
inline constexpr Field kWidening[] = {
    rows::Options(FieldType::U32),
    rows::Gain(4, "QUMEDIA-WIDHDX Input Gain"),
    rows::Gain(6, "QUMEDIA-WIDHDX Output Gain"),
    rows::Gain(8, "QUMEDIA-WIDHDX Bypass Gain"),
    rows::Level(10, "QUMEDIA-DC Level"),
    rows::Level(12, "QUMEDIA-Definition Level"),
    rows::Level(14, "QUMEDIA-WIDHDX ORV3D Center Level"),
    rows::Level(16, "QUMEDIA-WIDHDX ORV3D Space Level"),
    rows::Reserved(18),
    rows::Fixed(20, FieldType::U32, 0x40000000),
    rows::Level(24, "QUMEDIA-DPHD Level"),
    rows::Level(26, "QUMEDIA-DPHD Compressor Level"),
    rows::Words(28, kBassWords, Conversion::BassFilters),
};

inline constexpr Option kHeadphoneOptions[] = {
    Switch(0x01, "QUMEDIA-Limit Enable"),
    Switch(0x02, "QUMEDIA-DC Enable"),
    Switch(0x04, "QUMEDIA-DPHD Enable"),
    Switch(0x08, "QUMEDIA-DPHD Split Analysis Enable"),
    Switch(0x10, "QUMEDIA-MXHP MX Decoder Enable"),
    Switch(0x20, "QUMEDIA-MXHP MX Decoder Mode"),
    Switch(0x40, "QUMEDIA-Definition Enable"),
    Switch(0x80, "QUMEDIA-DPHD Mode"),
};
inline constexpr Field kHeadphone[] = {
    rows::Options(FieldType::U32),
    rows::Gain(4, "QUMEDIA-MXHP Input Gain"),
    rows::Gain(6, "QUMEDIA-MXHP Output Gain"),
    rows::Gain(8, "QUMEDIA-MXHP Bypass Gain"),
    rows::Level(10, "QUMEDIA-DC Level"),
    rows::Level(12, "QUMEDIA-Definition Level"),
    rows::Reserved(14),
    rows::Fixed(16, FieldType::U32, 0x10000000),
    rows::Level(20, "QUMEDIA-DPHD Level"),
    rows::Level(22, "QUMEDIA-DPHD Compressor Level"),
    rows::Words(24, kBassWords, Conversion::BassFilters),
};

inline constexpr Field kHighPass[] = {
    {0, FieldType::I32, Conversion::Integer, "QUMEDIA-HPF Order"},
    rows::Words(4, kCascadeWords, Conversion::HighPass),
};

inline constexpr Field kHardLimiter[] = {
    rows::Gain(0, "QUMEDIA-Hard Limiter Input Gain", 3),
    rows::Gain(2, "QUMEDIA-Hard Limiter Output Gain", 3),
    rows::Gain(4, "QUMEDIA-Hard Limiter Bypass Gain"),
    rows::Reserved(6),
    rows::Fixed(8, FieldType::U32, 22),
    rows::Gain(12, "QUMEDIA-Hard Limiter Boost Offset", 9, FieldType::I32),
    rows::Level(16, "QUMEDIA-Hard Limiter Limit Level"),
    rows::Reserved(18),
    rows::Fixed(20, FieldType::U32, 1),
};

inline constexpr Option kEqualiserOptions[] = {
    FixedBits(0x3),
    Switch(0x010, "QUMEDIA-PEQ Left Band 0 Enable"),
    Switch(0x020, "QUMEDIA-PEQ Left Band 1 Enable"),
    Switch(0x040, "QUMEDIA-PEQ Left Band 2 Enable"),
    Switch(0x080, "QUMEDIA-PEQ Left Band 3 Enable"),
    Switch(0x100, "QUMEDIA-PEQ Right Band 0 Enable"),
    Switch(0x200, "QUMEDIA-PEQ Right Band 1 Enable"),
    Switch(0x400, "QUMEDIA-PEQ Right Band 2 Enable"),
    Switch(0x800, "QUMEDIA-PEQ Right Band 3 Enable"),
};
inline constexpr Field kEqualiser[] = {
    rows::Options(FieldType::U32),
    rows::Fixed(4, FieldType::U32, 0x10001000),
    rows::Fixed(8, FieldType::U32, 0x1000),
    rows::Words(12, kCascadeWords, Conversion::LeftBands),
    rows::Words(116, kCascadeWords, Conversion::RightBands),
};

// In the order of their identifiers.
inline constexpr Record kRecords[] = {
    {kORVAPOQC_Param_Flags, "flags", L"", 8, kFlags, kFlagOptions},
    {kORVAPOQC_Param_WIDHD, "widening", L"QUMEDIA-Main Tech", 92, kWidening, kWideningOptions,
     "CORVAPOQCDSP::WriteWIDHDControlsToQCDriver", L"WIDHD DP Analysis: %d, DP Audio: %d\n"},
    {kORVAPOQC_Param_MXHP, "headphone", L"QUMEDIA-Main Tech", 88, kHeadphone, kHeadphoneOptions,
     "CORVAPOQCDSP::WriteMXHPControlsToQCDriver", L"MXHP DP Analysis: %d, DP Audio: %d\n"},
    {kORVAPOQC_Param_HPF, "high-pass", L"QUMEDIA-HPF Enable", 108, kHighPass},
    {kORVAPOQC_Param_PEQ, "equaliser", L"QUMEDIA-Link PEQ Enable", 220, kEqualiser,
     kEqualiserOptions},
    {kORVAPOQC_Param_HardLimiter, "hard limiter", L"QUMEDIA-Hard Limiter Enable", 24, kHardLimiter},
};

static_assert(std::ranges::all_of(kRecords, [](const Record& record) {
  return TilesRecord(record.fields, record.size);
}));

// Null for an identifier that no record has.
constexpr const Record* FindRecord(std::uint32_t parameter) noexcept {
  for (const Record& record : kRecords)
    if (record.parameter == parameter) return &record;
  return nullptr;
}

}  // namespace orv::qualcomm
