// Every control of every process: name, range, scale and choices, one row each.
//
// Units: percent 0 to 100; hertz; gains of the "VQ3D-" and "ZENSND-" suites in tenths of a decibel,
// of the "QUMEDIA-" suite in whole decibels with -999 as mute. The maximum of a gain is what its
// fixed-point field holds: 0 dB in Q1.15, 12 dB in Q3.13, 18 dB in Q4.12, 30 dB in Q6.26.
#pragma once

#include <cstddef>
#include <cstdint>

#include "values/control_info.h"

namespace orv::technology {

using Record = TechnologyControlRecord;

constexpr Record MakeRecord(const char* name, std::int32_t minimum, std::int32_t maximum,
                            std::uint32_t scale, float factor = 1.0F) {
  return {name, minimum, maximum, 0, 0, 0, nullptr, scale, factor};
}

// A row that begins a process: the rows up to the next one are its controls.
constexpr Record Process(const char* name) { return MakeRecord(name, 0, 0, ORV_QVT_SCALE_COUNT); }

template <std::size_t N>
constexpr Record Choice(const char* name, const char* const (&choices)[N]) {
  Record record = MakeRecord(name, 0, static_cast<std::int32_t>(N) - 1, ORV_QVT_SCALE_ENUM);
  record.name_count = static_cast<std::int32_t>(N);
  record.names = choices;
  return record;
}

// The position of a choice is the code that drivers take, so the order of every list is fixed.
constexpr const char* kSwitch[] = {"Disabled", "Enabled"};
constexpr Record Switch(const char* name) { return Choice(name, kSwitch); }

constexpr Record Number(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_NONE);
}
constexpr Record Percent(const char* name) { return Number(name, 0, 100); }
constexpr auto Hertz = Number;
constexpr Record Hundredths(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_BY100, 100.0F);
}
constexpr Record Decibels(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_DB);
}
constexpr Record TenthsOfDecibels(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_DB, 10.0F);
}
// A number whose meaning is in the comment of its row.
constexpr Record Custom(const char* name, std::int32_t minimum, std::int32_t maximum) {
  return MakeRecord(name, minimum, maximum, ORV_QVT_SCALE_CUSTOM);
}
// Free text, which has no number.
constexpr Record Text(const char* name) { return MakeRecord(name, 0, 0, ORV_QVT_SCALE_STRING); }

constexpr const char* vq3d_main_techs[] = {"VQ3D-None", "VQ3D-WIDHD", "VQ3D-AMHD",
                                           "VQ3D-PX3D", "VQ3D-MXHP",  "VQ3D-DPHD"};
constexpr const char* vq3d_bass_modes[] = {"VQ3D-DPHD Mono", "VQ3D-DPHD Stereo"};
constexpr const char* vq3d_decoder_modes[] = {"VQ3D-Cinema", "VQ3D-Music"};
constexpr const char* vq3d_filter_types[] = {"Default", "IirOnly", "IirFir", "Fir50",
                                             "Fir257",  "HpfA",    "HpfB"};
constexpr const char* vq3d_shapes[] = {"VQ3D-Traditional", "VQ3D-Low Shelf", "VQ3D-High Shelf"};
// Front, surround and low-frequency channels, in the order of the driver's index.
constexpr const char* zensnd_input_modes[] = {
    "ZENSND-1_0_0",   "ZENSND-2_0_0", "ZENSND-3_0_0", "ZENSND-2_0_1",     "ZENSND-3_0_1",
    "ZENSND-2_2_0",   "ZENSND-3_2_0", "ZENSND-2_2_1", "ZENSND-3_2_1",     "ZENSND-2_1_0",
    "ZENSND-3_1_0",   "ZENSND-2_1_1", "ZENSND-3_1_1", "ZENSND-2_3_0",     "ZENSND-3_3_0",
    "ZENSND-2_3_1",   "ZENSND-3_3_1", "ZENSND-LtRt",  "ZENSND-Headphone", "ZENSND-BSDigital",
    "ZENSND-PL2Music"};
constexpr const char* zensnd_space_modes[] = {"ZENSND-Mono", "ZENSND-Single Speaker",
                                              "ZENSND-Stereo"};
constexpr const char* zensnd_bass_modes[] = {"ZENSND-DPHD Mono", "ZENSND-DPHD Stereo"};
constexpr const char* zensnd_shapes[] = {"ZENSND-Traditional", "ZENSND-Low Shelf",
                                         "ZENSND-High Shelf"};
constexpr const char* qumedia_main_techs[] = {"QUMEDIA-None", "QUMEDIA-WIDHD", "QUMEDIA-AMHD",
                                              "QUMEDIA-PX3D", "QUMEDIA-MXHP",  "QUMEDIA-DPHD"};
constexpr const char* qumedia_space_modes[] = {"QUMEDIA-Mono", "QUMEDIA-Single Speaker",
                                               "QUMEDIA-Stereo"};
constexpr const char* qumedia_bass_modes[] = {"QUMEDIA-DPHD Mono", "QUMEDIA-DPHD Stereo"};
constexpr const char* qumedia_decoder_modes[] = {"QUMEDIA-Cinema", "QUMEDIA-Music"};

// One band of the equaliser of a suite with a choice of shapes, and all twelve of a channel.
#define ORV_SHAPED_BAND(suite, channel, band, shapes)                            \
  Switch(suite "-PEQ " channel " Band " #band " Enable"),                        \
      Hertz(suite "-PEQ " channel " Band " #band " Frequency", 20, 20000),       \
      Hundredths(suite "-PEQ " channel " Band " #band " Q Factor", 10, 1000),    \
      TenthsOfDecibels(suite "-PEQ " channel " Band " #band " Gain", -240, 240), \
      Choice(suite "-PEQ " channel " Band " #band " Type", shapes)
#define ORV_SHAPED_BANDS(suite, channel, shapes)                                              \
  ORV_SHAPED_BAND(suite, channel, 0, shapes), ORV_SHAPED_BAND(suite, channel, 1, shapes),     \
      ORV_SHAPED_BAND(suite, channel, 2, shapes), ORV_SHAPED_BAND(suite, channel, 3, shapes), \
      ORV_SHAPED_BAND(suite, channel, 4, shapes), ORV_SHAPED_BAND(suite, channel, 5, shapes), \
      ORV_SHAPED_BAND(suite, channel, 6, shapes), ORV_SHAPED_BAND(suite, channel, 7, shapes), \
      ORV_SHAPED_BAND(suite, channel, 8, shapes), ORV_SHAPED_BAND(suite, channel, 9, shapes), \
      ORV_SHAPED_BAND(suite, channel, 10, shapes), ORV_SHAPED_BAND(suite, channel, 11, shapes)

// One band of the "QUMEDIA-" equaliser, which peaks and has whole decibels, and all four of a
// channel.
#define ORV_PEAKING_BAND(channel, band)                                     \
  Switch("QUMEDIA-PEQ " channel " Band " #band " Enable"),                  \
      Hertz("QUMEDIA-PEQ " channel " Band " #band " Frequency", 20, 20000), \
      Decibels("QUMEDIA-PEQ " channel " Band " #band " Gain", -24, 24),     \
      Hundredths("QUMEDIA-PEQ " channel " Band " #band " Q Factor", 10, 1000)
#define ORV_PEAKING_BANDS(channel)                                                          \
  ORV_PEAKING_BAND(channel, 0), ORV_PEAKING_BAND(channel, 1), ORV_PEAKING_BAND(channel, 2), \
      ORV_PEAKING_BAND(channel, 3)

// clang-format off: one row a line
constexpr Record kTable[] = {
    Process("ZAPO3-Switches"),
    Text("ZAPO3-Operating Mode"),
    Text("ZAPO3-Speaker Type"),
    Switch("ZAPO3-Process Enable"),
    Switch("ZAPO3-Mic Monitor Enable"),
    Process("VQ3D-Core"),
    Switch("VQ3D-Process Enable"),
    TenthsOfDecibels("VQ3D-Headroom Gain", -600, 0),
    TenthsOfDecibels("VQ3D-Bypass Gain", -600, 0),
    Choice("VQ3D-Main Tech", vq3d_main_techs),
    Process("VQ3D-EVolHD"),
    Switch("VQ3D-EVolHD Enable"),
    TenthsOfDecibels("VQ3D-EVolHD LKFS", -600, 0),
    // below zero: tenths of a decibel; from zero: percent
    Custom("VQ3D-EVolHD Level Intensity", -600, 100),
    Process("VQ3D-Vocalift"),
    Switch("VQ3D-Vocalift Enable"),
    TenthsOfDecibels("VQ3D-Vocalift Clarity Gain", -600, 0),
    TenthsOfDecibels("VQ3D-Vocalift Process Gain", -60, 95),  // linear 0.5 to 3.0
    Process("VQ3D-DPHD"),
    Switch("VQ3D-DPHD Enable"),
    Percent("VQ3D-DPHD Level"),
    Number("VQ3D-DPHD Max Level", 10, 100),
    Switch("VQ3D-DPHD Boost Enable"),
    Percent("VQ3D-DPHD Boost Split"),
    // hertz: 40, 60, 100, 120, 150, 200, 250, 300 or 400; any other number takes the custom size
    Custom("VQ3D-DPHD Speaker Audio Size", 40, 400),
    Custom("VQ3D-DPHD Speaker Analysis Size", 40, 400),
    Hertz("VQ3D-DPHD Speaker Audio Custom Size", 40, 600),
    Hertz("VQ3D-DPHD Speaker Analysis Custom Size", 40, 600),
    Switch("VQ3D-DPHD Split Analysis Enable"),
    Switch("VQ3D-DPHD Level Independent Enable"),
    Choice("VQ3D-DPHD Mode", vq3d_bass_modes),
    Percent("VQ3D-DPHD Compressor Level"),
    Percent("VQ3D-DPHD Bass Clarity Level"),
    TenthsOfDecibels("VQ3D-DPHD Input Gain", -600, 0),
    TenthsOfDecibels("VQ3D-DPHD Reference Offset", -600, 180),
    Switch("VQ3D-Definition Enable"),
    Percent("VQ3D-Definition Level"),
    Number("VQ3D-Definition Max Level", 10, 100),
    Process("VQ3D-WIDHD"),
    Switch("VQ3D-DC Enable"),
    Percent("VQ3D-DC Level"),
    Number("VQ3D-DC Max Level", 10, 100),
    Switch("VQ3D-DialogClarity Enable"),
    Percent("VQ3D-DialogClarity Level"),
    Percent("VQ3D-Ambiwide Level"),
    Percent("VQ3D-WIDHD ORV3D Space Level"),
    Percent("VQ3D-WIDHD ORV3D Center Level"),
    Percent("VQ3D-WIDHD Focus Level"),
    TenthsOfDecibels("VQ3D-WIDHD Input Gain", -600, 0),
    TenthsOfDecibels("VQ3D-AMHD Input Gain", -600, 0),
    TenthsOfDecibels("VQ3D-PX3D Input Gain", -600, 0),
    Switch("VQ3D-PX3D Surround Boost Enable"),
    Switch("VQ3D-Space HPF Enable"),
    // hertz: 80, 120, 200, 240, 300, 400, 500, 600 or 800; any other number takes the custom one
    Custom("VQ3D-Space HPF Cutoff Freq", 80, 800),
    Hertz("VQ3D-Space HPF Custom Freq", 20, 2000),
    Process("VQ3D-MXHP"),
    Switch("VQ3D-MXHP MX Decoder Enable"),
    Choice("VQ3D-MXHP MX Decoder Mode", vq3d_decoder_modes),
    Switch("VQ3D-MXHP DialogClarity Enable"),
    Percent("VQ3D-MXHP DialogClarity Level"),
    TenthsOfDecibels("VQ3D-MXHP Input Gain", -600, 0),
    Process("VQ3D-GEQ"),
    Switch("VQ3D-GEQ Enable"),
    TenthsOfDecibels("VQ3D-GEQ 100Hz Gain", -150, 150),
    TenthsOfDecibels("VQ3D-GEQ 300Hz Gain", -150, 150),
    TenthsOfDecibels("VQ3D-GEQ 1kHz Gain", -150, 150),
    TenthsOfDecibels("VQ3D-GEQ 3kHz Gain", -150, 150),
    TenthsOfDecibels("VQ3D-GEQ 10kHz Gain", -150, 150),
    // linear factors written as decimal fractions, for configurations only
    Text("VQ3D-GEQ 100Hz Gain Float"),
    Text("VQ3D-GEQ 300Hz Gain Float"),
    Text("VQ3D-GEQ 1kHz Gain Float"),
    Text("VQ3D-GEQ 3kHz Gain Float"),
    Text("VQ3D-GEQ 10kHz Gain Float"),
    TenthsOfDecibels("VQ3D-GEQ Input Gain", -600, 0),
    Process("VQ3D-Tone"),
    Switch("VQ3D-Tone Enable"),
    Number("VQ3D-Bass Gain", -12, 12),
    Number("VQ3D-Treble Gain", -12, 12),
    TenthsOfDecibels("VQ3D-Tone Input Gain", -600, 0),
    Process("VQ3D-AEQ"),
    Switch("VQ3D-AEQ Enable"),
    TenthsOfDecibels("VQ3D-AEQ Bypass Gain", -600, 0),
    TenthsOfDecibels("VQ3D-AEQ Input Gain", -600, 0),
    Switch("VQ3D-HPF Enable"),
    Number("VQ3D-HPF Order", 2, 10),
    Hertz("VQ3D-HPF Frequency", 20, 2000),
    // a built-in coefficient set in place of the high-pass and the bands
    Choice("VQ3D-Custom Filter Type", vq3d_filter_types),
    ORV_SHAPED_BANDS("VQ3D", "Left", vq3d_shapes),
    ORV_SHAPED_BANDS("VQ3D", "Right", vq3d_shapes),
    Process("VQ3D-Master Volume"),
    Switch("VQ3D-Master Volume Enable"),
    Number("VQ3D-Master Volume Volume Step", 0, 100),
    Number("VQ3D-Master Volume L/R Balance", -10, 10),
    Switch("VQ3D-Master Volume Output Mute Enable"),
    Process("VQ3D-Hard Limiter"),
    Switch("VQ3D-Hard Limiter Enable"),
    TenthsOfDecibels("VQ3D-Hard Limiter Output Gain", -600, 120),
    TenthsOfDecibels("VQ3D-Hard Limiter Boost Offset", -600, 300),
    Number("VQ3D-Hard Limiter Delay Length", 60, 240),  // samples
    Switch("VQ3D-Hard Limiter Anticlip Enable"),
    Percent("VQ3D-Hard Limiter Anticlip Level"),
    Process("ZENSND-Core"),
    Switch("ZENSND-Process Enable"),
    TenthsOfDecibels("ZENSND-Headroom Gain", -600, 0),
    TenthsOfDecibels("ZENSND-Bypass Gain", -600, 0),
    Process("ZENSND-EVolHD"),
    Switch("ZENSND-EVolHD Enable"),
    TenthsOfDecibels("ZENSND-EVolHD LKFS", -600, 0),
    // below zero: tenths of a decibel; from zero: percent
    Custom("ZENSND-EVolHD Level Intensity", -600, 100),
    Process("ZENSND-AMHD"),
    Switch("ZENSND-AMHD Enable"),
    Choice("ZENSND-AMHD Input Mode", zensnd_input_modes),
    TenthsOfDecibels("ZENSND-AMHD Input Gain", -600, 0),
    TenthsOfDecibels("ZENSND-AMHD Output Gain", -600, 0),
    Switch("ZENSND-Surround Enable"),
    Percent("ZENSND-Surround Level"),
    Switch("ZENSND-Space HPF Enable"),
    // hertz; 80, 120, 200, 240, 300, 400, 500, 600 and 800 have filters of their own
    Custom("ZENSND-Space HPF Custom Freq", 20, 2000),
    Text("ZENSND-Space HPF Custom Freq Table"),
    Switch("ZENSND-DC Enable"),
    Percent("ZENSND-DC Level"),
    Switch("ZENSND-Definition Enable"),
    Percent("ZENSND-Definition Level"),
    Process("ZENSND-WIDHDX"),
    Percent("ZENSND-WIDHDX ORV3D Space Level"),
    Percent("ZENSND-WIDHDX ORV3D Center Level"),
    Switch("ZENSND-WIDHDX Headphone Enable"),
    Switch("ZENSND-WIDHDX High Bit Rate Enable"),
    Choice("ZENSND-WIDHDX ORV3D Mode", zensnd_space_modes),
    Switch("ZENSND-WIDHDX Focus Enable"),
    Percent("ZENSND-WIDHDX Focus Level"),
    Process("ZENSND-DPHD"),
    Switch("ZENSND-DPHD Enable"),
    Percent("ZENSND-DPHD Level"),
    // hertz: 40, 60, 100, 120, 150, 200, 250, 300 or 400; any other number takes the custom size
    Custom("ZENSND-DPHD Speaker Audio Size", 40, 400),
    Custom("ZENSND-DPHD Speaker Analysis Size", 40, 400),
    Hertz("ZENSND-DPHD Speaker Audio Custom Size", 40, 600),
    Hertz("ZENSND-DPHD Speaker Analysis Custom Size", 40, 600),
    Text("ZENSND-DPHD_Speaker Custom Table"),
    Switch("ZENSND-DPHD Split Analysis Enable"),
    Choice("ZENSND-DPHD Mode", zensnd_bass_modes),
    Percent("ZENSND-DPHD Bass Clarity Level"),
    Process("ZENSND-Hard Limiter"),
    Switch("ZENSND-Hard Limiter Enable"),
    Number("ZENSND-Hard Limiter Delay Len", 60, 240),  // samples
    TenthsOfDecibels("ZENSND-Hard Limiter Boost Gain", -600, 300),
    TenthsOfDecibels("ZENSND-Hard Limiter Output Gain", -600, 120),
    Process("ZENSND-AEQ"),
    Switch("ZENSND-HPF Enable"),
    Number("ZENSND-HPF Order", 1, 10),
    Hertz("ZENSND-HPF Frequency", 20, 2000),
    Text("ZENSND-HPF Filter Cfg"),
    Switch("ZENSND-AEQ Enable"),
    Text("ZENSND-Filter Cfg"),
    ORV_SHAPED_BANDS("ZENSND", "Left", zensnd_shapes),
    ORV_SHAPED_BANDS("ZENSND", "Right", zensnd_shapes),
    Process("QUMEDIA-Core"),
    Switch("QUMEDIA-Process Enable"),
    Choice("QUMEDIA-Main Tech", qumedia_main_techs),
    Switch("QUMEDIA-Limit Enable"),
    Switch("QUMEDIA-DC Enable"),
    Percent("QUMEDIA-DC Level"),
    Switch("QUMEDIA-Definition Enable"),
    Percent("QUMEDIA-Definition Level"),
    Process("QUMEDIA-WIDHDX"),
    Switch("QUMEDIA-WIDHDX Enhance Mode"),
    Choice("QUMEDIA-WIDHDX ORV3D Mode", qumedia_space_modes),
    Percent("QUMEDIA-WIDHDX ORV3D Center Level"),
    Percent("QUMEDIA-WIDHDX ORV3D Space Level"),
    Decibels("QUMEDIA-WIDHDX Input Gain", -999, 0),
    Decibels("QUMEDIA-WIDHDX Output Gain", -999, 0),
    Decibels("QUMEDIA-WIDHDX Bypass Gain", -999, 0),
    Process("QUMEDIA-MXHP"),
    Switch("QUMEDIA-MXHP MX Decoder Enable"),
    Choice("QUMEDIA-MXHP MX Decoder Mode", qumedia_decoder_modes),
    Decibels("QUMEDIA-MXHP Input Gain", -999, 0),
    Decibels("QUMEDIA-MXHP Output Gain", -999, 0),
    Decibels("QUMEDIA-MXHP Bypass Gain", -999, 0),
    Process("QUMEDIA-DPHD"),
    Switch("QUMEDIA-DPHD Enable"),
    Percent("QUMEDIA-DPHD Level"),
    Percent("QUMEDIA-DPHD Compressor Level"),
    Choice("QUMEDIA-DPHD Mode", qumedia_bass_modes),
    Switch("QUMEDIA-DPHD Split Analysis Enable"),
    Hertz("QUMEDIA-DPHD Speaker Audio Custom Size", 40, 600),
    Hertz("QUMEDIA-DPHD Speaker Analysis Custom Size", 40, 600),
    Process("QUMEDIA-HPF"),
    Switch("QUMEDIA-HPF Enable"),
    Number("QUMEDIA-HPF Order", 1, 8),
    Hertz("QUMEDIA-HPF Frequency", 20, 2000),
    Process("QUMEDIA-Hard Limiter"),
    Switch("QUMEDIA-Hard Limiter Enable"),
    Decibels("QUMEDIA-Hard Limiter Input Gain", -999, 12),
    Decibels("QUMEDIA-Hard Limiter Output Gain", -999, 12),
    Decibels("QUMEDIA-Hard Limiter Bypass Gain", -999, 0),
    Decibels("QUMEDIA-Hard Limiter Boost Offset", -999, 48),
    Percent("QUMEDIA-Hard Limiter Limit Level"),
    Process("QUMEDIA-PEQ"),
    Switch("QUMEDIA-Link PEQ Enable"),
    ORV_PEAKING_BANDS("Left"),
    ORV_PEAKING_BANDS("Right"),
};
// clang-format on

}  // namespace orv::technology
