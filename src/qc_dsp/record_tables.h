// The driver's six records, row by row.
#pragma once

#include <cstdint>
#include <span>

#include "qc_dsp/qualcomm_records.h"

namespace orv::qualcomm {

enum class Conversion : std::uint8_t {
  Fixed,    // `fixed`, for all controls
  Options,  // the record's option bits
  Number,   // the control's value as it is
  GainQ15,  // whole decibels, kMute for silence
  GainQ13,
  GainQ23,
  LevelQ15,     // percent, taken as unsigned
  BassFilters,  // designed words
  HighPass,
  LeftBands,
  RightBands,
};

inline constexpr std::int32_t kMute = -999;
inline constexpr std::int32_t kSampleRate = 48000;  // Hz
inline constexpr std::int32_t kHighestOrder = 8;    // what the high-pass field has room for
inline constexpr int kBands = 4;                    // of the equaliser, a channel
inline constexpr std::size_t kCascadeWords = 26;    // a cascade of four sections
inline constexpr std::size_t kBassWords = 16;       // without the all-pass of the design

struct Field {
  std::size_t offset;
  FieldType type;
  std::size_t count;
  Conversion conversion;
  const wchar_t* control;  // empty for fixed values, coefficients and option bits
  std::int64_t fixed;
};

enum class OptionTest : std::uint8_t { Always, NotZero, Equals, Above };

// Bits that are set when the control's value, taken as unsigned, passes the test. Rows of one
// control that share a mask exclude one another.
struct Option {
  std::uint32_t mask;
  std::uint32_t bits;
  OptionTest test;
  std::uint32_t operand;
  const wchar_t* control;
  const char* text;  // what the bits mean; null for a switch

  constexpr bool Holds(std::uint32_t value) const noexcept {
    switch (test) {
      case OptionTest::NotZero:
        return value != 0;
      case OptionTest::Equals:
        return value == operand;
      case OptionTest::Above:
        return value > operand;
      default:
        return true;
    }
  }
};

struct Record {
  QualcommParameter parameter;
  const char* name;
  const wchar_t* needs;
  std::size_t size;
  std::span<const Field> fields;
  std::span<const Option> options;
  const char* writer;         // who reports the sizes of the bass design
  const wchar_t* sizes_line;  // with the analysis and the audio size
};

constexpr Field Fixed(std::size_t offset, FieldType type, std::int64_t value) {
  return {offset, type, 1, Conversion::Fixed, L"", value};
}
constexpr Field Reserved(std::size_t offset, FieldType type, std::size_t count = 1) {
  return {offset, type, count, Conversion::Fixed, L"", 0};
}
constexpr Field Options(FieldType type) { return {0, type, 1, Conversion::Options, L"", 0}; }
constexpr Field Number(std::size_t offset, FieldType type, Conversion conversion,
                       const wchar_t* control) {
  return {offset, type, 1, conversion, control, 0};
}
constexpr Field Words(std::size_t offset, std::size_t count, Conversion conversion) {
  return {offset, FieldType::I32, count, conversion, L"", 0};
}
constexpr Option Switch(std::uint32_t bit, const wchar_t* control) {
  return {bit, bit, OptionTest::NotZero, 0, control, nullptr};
}
constexpr Option FixedBits(std::uint32_t bits) {
  return {bits, bits, OptionTest::Always, 0, L"", nullptr};
}

inline constexpr Option kFlagOptions[] = {
    Switch(0x01, L"QUMEDIA-Process Enable"),
    {0x02, 0x02, OptionTest::Equals, 1, L"QUMEDIA-Main Tech", "widening"},
    {0x04, 0x04, OptionTest::Equals, 4, L"QUMEDIA-Main Tech", "headphone"},
    Switch(0x08, L"QUMEDIA-HPF Enable"),
    Switch(0x10, L"QUMEDIA-Link PEQ Enable"),
    Switch(0x20, L"QUMEDIA-Hard Limiter Enable"),
};
inline constexpr Field kFlags[] = {
    Options(FieldType::U8),
    Reserved(1, FieldType::U8, 7),
};
static_assert(TilesRecord(kFlags, 8));

inline constexpr Option kWideningOptions[] = {
    Switch(0x01, L"QUMEDIA-Limit Enable"),
    Switch(0x02, L"QUMEDIA-WIDHDX Enhance Mode"),
    Switch(0x04, L"QUMEDIA-DPHD Enable"),
    Switch(0x08, L"QUMEDIA-DPHD Split Analysis Enable"),
    Switch(0x10, L"QUMEDIA-DC Enable"),
    Switch(0x20, L"QUMEDIA-Definition Enable"),
    Switch(0x40, L"QUMEDIA-DPHD Mode"),
    FixedBits(0x80),
    {0x700, 0x100, OptionTest::Equals, 0, L"QUMEDIA-WIDHDX ORV3D Mode", "mode 0"},
    {0x700, 0x200, OptionTest::Equals, 1, L"QUMEDIA-WIDHDX ORV3D Mode", "mode 1"},
    {0x700, 0x300, OptionTest::Equals, 2, L"QUMEDIA-WIDHDX ORV3D Mode", "mode 2"},
    {0x700, 0x400, OptionTest::Above, 2, L"QUMEDIA-WIDHDX ORV3D Mode", "another mode"},
};
inline constexpr Field kWidening[] = {
    Options(FieldType::U32),
    Number(4, FieldType::I16, Conversion::GainQ15, L"QUMEDIA-WIDHDX Input Gain"),
    Number(6, FieldType::I16, Conversion::GainQ15, L"QUMEDIA-WIDHDX Output Gain"),
    Number(8, FieldType::I16, Conversion::GainQ15, L"QUMEDIA-WIDHDX Bypass Gain"),
    Number(10, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-DC Level"),
    Number(12, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-Definition Level"),
    Number(14, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-WIDHDX ORV3D Center Level"),
    Number(16, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-WIDHDX ORV3D Space Level"),
    Reserved(18, FieldType::I16),
    Fixed(20, FieldType::U32, 0x40000000),
    Number(24, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-DPHD Level"),
    Number(26, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-DPHD Compressor Level"),
    Words(28, kBassWords, Conversion::BassFilters),
};
static_assert(TilesRecord(kWidening, 92));

inline constexpr Option kHeadphoneOptions[] = {
    Switch(0x01, L"QUMEDIA-Limit Enable"),
    Switch(0x02, L"QUMEDIA-DC Enable"),
    Switch(0x04, L"QUMEDIA-DPHD Enable"),
    Switch(0x08, L"QUMEDIA-DPHD Split Analysis Enable"),
    Switch(0x10, L"QUMEDIA-MXHP MX Decoder Enable"),
    Switch(0x20, L"QUMEDIA-MXHP MX Decoder Mode"),
    Switch(0x40, L"QUMEDIA-Definition Enable"),
    Switch(0x80, L"QUMEDIA-DPHD Mode"),
};
inline constexpr Field kHeadphone[] = {
    Options(FieldType::U32),
    Number(4, FieldType::I16, Conversion::GainQ15, L"QUMEDIA-MXHP Input Gain"),
    Number(6, FieldType::I16, Conversion::GainQ15, L"QUMEDIA-MXHP Output Gain"),
    Number(8, FieldType::I16, Conversion::GainQ15, L"QUMEDIA-MXHP Bypass Gain"),
    Number(10, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-DC Level"),
    Number(12, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-Definition Level"),
    Reserved(14, FieldType::I16),
    Fixed(16, FieldType::U32, 0x10000000),
    Number(20, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-DPHD Level"),
    Number(22, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-DPHD Compressor Level"),
    Words(24, kBassWords, Conversion::BassFilters),
};
static_assert(TilesRecord(kHeadphone, 88));

inline constexpr Field kHighPass[] = {
    Number(0, FieldType::I32, Conversion::Number, L"QUMEDIA-HPF Order"),
    Words(4, kCascadeWords, Conversion::HighPass),
};
static_assert(TilesRecord(kHighPass, 108));

inline constexpr Field kHardLimiter[] = {
    Number(0, FieldType::I16, Conversion::GainQ13, L"QUMEDIA-Hard Limiter Input Gain"),
    Number(2, FieldType::I16, Conversion::GainQ13, L"QUMEDIA-Hard Limiter Output Gain"),
    Number(4, FieldType::I16, Conversion::GainQ15, L"QUMEDIA-Hard Limiter Bypass Gain"),
    Reserved(6, FieldType::I16),
    Fixed(8, FieldType::U32, 22),
    Number(12, FieldType::I32, Conversion::GainQ23, L"QUMEDIA-Hard Limiter Boost Offset"),
    Number(16, FieldType::I16, Conversion::LevelQ15, L"QUMEDIA-Hard Limiter Limit Level"),
    Reserved(18, FieldType::I16),
    Fixed(20, FieldType::U32, 1),
};
static_assert(TilesRecord(kHardLimiter, 24));

inline constexpr Option kEqualiserOptions[] = {
    FixedBits(0x3),
    Switch(0x010, L"QUMEDIA-PEQ Left Band 0 Enable"),
    Switch(0x020, L"QUMEDIA-PEQ Left Band 1 Enable"),
    Switch(0x040, L"QUMEDIA-PEQ Left Band 2 Enable"),
    Switch(0x080, L"QUMEDIA-PEQ Left Band 3 Enable"),
    Switch(0x100, L"QUMEDIA-PEQ Right Band 0 Enable"),
    Switch(0x200, L"QUMEDIA-PEQ Right Band 1 Enable"),
    Switch(0x400, L"QUMEDIA-PEQ Right Band 2 Enable"),
    Switch(0x800, L"QUMEDIA-PEQ Right Band 3 Enable"),
};
inline constexpr Field kEqualiser[] = {
    Options(FieldType::U32),
    Fixed(4, FieldType::U32, 0x10001000),
    Fixed(8, FieldType::U32, 0x1000),
    Words(12, kCascadeWords, Conversion::LeftBands),
    Words(116, kCascadeWords, Conversion::RightBands),
};
static_assert(TilesRecord(kEqualiser, 220));

// In the order of their identifiers.
inline constexpr Record kRecords[] = {
    {kORVAPOQC_Param_Flags, "flags", L"", 8, kFlags, kFlagOptions, "", L""},
    {kORVAPOQC_Param_WIDHD, "widening", L"QUMEDIA-Main Tech", 92, kWidening, kWideningOptions,
     "CORVAPOQCDSP::WriteWIDHDControlsToQCDriver", L"WIDHD DP Analysis: %d, DP Audio: %d\n"},
    {kORVAPOQC_Param_MXHP, "headphone", L"QUMEDIA-Main Tech", 88, kHeadphone, kHeadphoneOptions,
     "CORVAPOQCDSP::WriteMXHPControlsToQCDriver", L"MXHP DP Analysis: %d, DP Audio: %d\n"},
    {kORVAPOQC_Param_HPF, "high-pass", L"QUMEDIA-HPF Enable", 108, kHighPass, {}, "", L""},
    {kORVAPOQC_Param_PEQ, "equaliser", L"QUMEDIA-Link PEQ Enable", 220, kEqualiser,
     kEqualiserOptions, "", L""},
    {kORVAPOQC_Param_HardLimiter,
     "hard limiter",
     L"QUMEDIA-Hard Limiter Enable",
     24,
     kHardLimiter,
     {},
     "",
     L""},
};

// Null for an identifier that no record has.
constexpr const Record* FindRecord(std::uint32_t parameter) noexcept {
  for (const Record& record : kRecords)
    if (record.parameter == parameter) return &record;
  return nullptr;
}

}  // namespace orv::qualcomm
