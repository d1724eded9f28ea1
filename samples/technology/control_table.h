// Every control of every process: name, range, scale and choices, one row each.
//
// Units: percent 0 to 100; hertz; gains of the "VQ3D-" and "ZENSND-" suites in tenths of a decibel,
// of the "QUMEDIA-" suite in whole decibels with -999 as mute. A gain's maximum is what its
// fixed-point field holds: 0 dB in Q1.15, 12 dB in Q3.13, 18 dB in Q4.12, 30 dB in Q6.26.
#pragma once

#include <array>

#include "control_records.h"

namespace orv::technology {

// Endpoint-wide switches and what tells operating modes apart.

constexpr std::array kApoControls = {
    Text("ZAPO3-Operating Mode"),
    Text("ZAPO3-Speaker Type"),
    Switch("ZAPO3-Process Enable"),
    Switch("ZAPO3-Mic Monitor Enable"),
};

// VQ3D suite

namespace vq3d {

constexpr const char* main_techs[] = {"VQ3D-None", "VQ3D-WIDHD", "VQ3D-AMHD",
                                      "VQ3D-PX3D", "VQ3D-MXHP",  "VQ3D-DPHD"};
constexpr const char* bass_modes[] = {"VQ3D-DPHD Mono", "VQ3D-DPHD Stereo"};
constexpr const char* decoder_modes[] = {"VQ3D-Cinema", "VQ3D-Music"};
constexpr const char* filter_types[] = {"Default", "IirOnly", "IirFir", "Fir50",
                                        "Fir257",  "HpfA",    "HpfB"};
constexpr const char* shapes[] = {"VQ3D-Traditional", "VQ3D-Low Shelf", "VQ3D-High Shelf"};

constexpr std::array kCore = {
    Switch("VQ3D-Process Enable"),
    TenthsOfDecibels("VQ3D-Headroom Gain", -600, 0),
    TenthsOfDecibels("VQ3D-Bypass Gain", -600, 0),
    Choice("VQ3D-Main Tech", main_techs),
};

constexpr std::array kVolumeLeveller = {
    Switch("VQ3D-EVolHD Enable"),
    TenthsOfDecibels("VQ3D-EVolHD LKFS", -600, 0),
    // below zero: tenths of a decibel; from zero: percent
    Custom("VQ3D-EVolHD Level Intensity", -600, 100),
};

constexpr std::array kVocalift = {
    Switch("VQ3D-Vocalift Enable"), TenthsOfDecibels("VQ3D-Vocalift Clarity Gain", -600, 0),
    TenthsOfDecibels("VQ3D-Vocalift Process Gain", -60, 95),  // linear 0.5 to 3.0
};

constexpr std::array kBass = {
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
    Choice("VQ3D-DPHD Mode", bass_modes),
    Percent("VQ3D-DPHD Compressor Level"),
    Percent("VQ3D-DPHD Bass Clarity Level"),
    TenthsOfDecibels("VQ3D-DPHD Input Gain", -600, 0),
    TenthsOfDecibels("VQ3D-DPHD Reference Offset", -600, 180),
    Switch("VQ3D-Definition Enable"),
    Percent("VQ3D-Definition Level"),
    Number("VQ3D-Definition Max Level", 10, 100),
};

constexpr std::array kSpace = {
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
};

constexpr std::array kHeadphone = {
    Switch("VQ3D-MXHP MX Decoder Enable"),
    Choice("VQ3D-MXHP MX Decoder Mode", decoder_modes),
    Switch("VQ3D-MXHP DialogClarity Enable"),
    Percent("VQ3D-MXHP DialogClarity Level"),
    TenthsOfDecibels("VQ3D-MXHP Input Gain", -600, 0),
};

constexpr std::array kGraphicEqualiser = {
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
};

constexpr std::array kTone = {
    Switch("VQ3D-Tone Enable"),
    Number("VQ3D-Bass Gain", -12, 12),
    Number("VQ3D-Treble Gain", -12, 12),
    TenthsOfDecibels("VQ3D-Tone Input Gain", -600, 0),
};

constexpr std::array kEqualiser = {
    Switch("VQ3D-AEQ Enable"),
    TenthsOfDecibels("VQ3D-AEQ Bypass Gain", -600, 0),
    TenthsOfDecibels("VQ3D-AEQ Input Gain", -600, 0),
    Switch("VQ3D-HPF Enable"),
    Number("VQ3D-HPF Order", 2, 10),
    Hertz("VQ3D-HPF Frequency", 20, 2000),
    // a built-in coefficient set in place of the high-pass and the bands
    Choice("VQ3D-Custom Filter Type", filter_types),
    ORV_SHAPED_BANDS("VQ3D", "Left"),
    ORV_SHAPED_BANDS("VQ3D", "Right"),
};

constexpr std::array kMasterVolume = {
    Switch("VQ3D-Master Volume Enable"),
    Number("VQ3D-Master Volume Volume Step", 0, 100),
    Number("VQ3D-Master Volume L/R Balance", -10, 10),
    Switch("VQ3D-Master Volume Output Mute Enable"),
};

constexpr std::array kHardLimiter = {
    Switch("VQ3D-Hard Limiter Enable"),
    TenthsOfDecibels("VQ3D-Hard Limiter Output Gain", -600, 120),
    TenthsOfDecibels("VQ3D-Hard Limiter Boost Offset", -600, 300),
    Number("VQ3D-Hard Limiter Delay Length", 60, 240),  // samples
    Switch("VQ3D-Hard Limiter Anticlip Enable"),
    Percent("VQ3D-Hard Limiter Anticlip Level"),
};

}  // namespace vq3d

// ZENSND suite

namespace zensnd {

// Front, surround and low-frequency channels, in the order of the driver's index.
constexpr const char* input_modes[] = {
    "ZENSND-1_0_0",   "ZENSND-2_0_0", "ZENSND-3_0_0", "ZENSND-2_0_1",     "ZENSND-3_0_1",
    "ZENSND-2_2_0",   "ZENSND-3_2_0", "ZENSND-2_2_1", "ZENSND-3_2_1",     "ZENSND-2_1_0",
    "ZENSND-3_1_0",   "ZENSND-2_1_1", "ZENSND-3_1_1", "ZENSND-2_3_0",     "ZENSND-3_3_0",
    "ZENSND-2_3_1",   "ZENSND-3_3_1", "ZENSND-LtRt",  "ZENSND-Headphone", "ZENSND-BSDigital",
    "ZENSND-PL2Music"};
constexpr const char* space_modes[] = {"ZENSND-Mono", "ZENSND-Single Speaker", "ZENSND-Stereo"};
constexpr const char* bass_modes[] = {"ZENSND-DPHD Mono", "ZENSND-DPHD Stereo"};
constexpr const char* shapes[] = {"ZENSND-Traditional", "ZENSND-Low Shelf", "ZENSND-High Shelf"};

constexpr std::array kCore = {
    Switch("ZENSND-Process Enable"),
    TenthsOfDecibels("ZENSND-Headroom Gain", -600, 0),
    TenthsOfDecibels("ZENSND-Bypass Gain", -600, 0),
};

constexpr std::array kVolumeLeveller = {
    Switch("ZENSND-EVolHD Enable"),
    TenthsOfDecibels("ZENSND-EVolHD LKFS", -600, 0),
    // below zero: tenths of a decibel; from zero: percent
    Custom("ZENSND-EVolHD Level Intensity", -600, 100),
};

constexpr std::array kSurround = {
    Switch("ZENSND-AMHD Enable"),
    Choice("ZENSND-AMHD Input Mode", input_modes),
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
};

constexpr std::array kWidening = {
    Percent("ZENSND-WIDHDX ORV3D Space Level"),
    Percent("ZENSND-WIDHDX ORV3D Center Level"),
    Switch("ZENSND-WIDHDX Headphone Enable"),
    Switch("ZENSND-WIDHDX High Bit Rate Enable"),
    Choice("ZENSND-WIDHDX ORV3D Mode", space_modes),
    Switch("ZENSND-WIDHDX Focus Enable"),
    Percent("ZENSND-WIDHDX Focus Level"),
};

constexpr std::array kBass = {
    Switch("ZENSND-DPHD Enable"),
    Percent("ZENSND-DPHD Level"),
    // hertz: 40, 60, 100, 120, 150, 200, 250, 300 or 400; any other number takes the custom size
    Custom("ZENSND-DPHD Speaker Audio Size", 40, 400),
    Custom("ZENSND-DPHD Speaker Analysis Size", 40, 400),
    Hertz("ZENSND-DPHD Speaker Audio Custom Size", 40, 600),
    Hertz("ZENSND-DPHD Speaker Analysis Custom Size", 40, 600),
    Text("ZENSND-DPHD_Speaker Custom Table"),
    Switch("ZENSND-DPHD Split Analysis Enable"),
    Choice("ZENSND-DPHD Mode", bass_modes),
    Percent("ZENSND-DPHD Bass Clarity Level"),
};

constexpr std::array kHardLimiter = {
    Switch("ZENSND-Hard Limiter Enable"),
    Number("ZENSND-Hard Limiter Delay Len", 60, 240),  // samples
    TenthsOfDecibels("ZENSND-Hard Limiter Boost Gain", -600, 300),
    TenthsOfDecibels("ZENSND-Hard Limiter Output Gain", -600, 120),
};

constexpr std::array kEqualiser = {
    Switch("ZENSND-HPF Enable"),
    Number("ZENSND-HPF Order", 1, 10),
    Hertz("ZENSND-HPF Frequency", 20, 2000),
    Text("ZENSND-HPF Filter Cfg"),
    Switch("ZENSND-AEQ Enable"),
    Text("ZENSND-Filter Cfg"),
    ORV_SHAPED_BANDS("ZENSND", "Left"),
    ORV_SHAPED_BANDS("ZENSND", "Right"),
};

}  // namespace zensnd

// QUMEDIA suite

namespace qumedia {

constexpr const char* main_techs[] = {"QUMEDIA-None", "QUMEDIA-WIDHD", "QUMEDIA-AMHD",
                                      "QUMEDIA-PX3D", "QUMEDIA-MXHP",  "QUMEDIA-DPHD"};
constexpr const char* space_modes[] = {"QUMEDIA-Mono", "QUMEDIA-Single Speaker", "QUMEDIA-Stereo"};
constexpr const char* bass_modes[] = {"QUMEDIA-DPHD Mono", "QUMEDIA-DPHD Stereo"};
constexpr const char* decoder_modes[] = {"QUMEDIA-Cinema", "QUMEDIA-Music"};

constexpr std::array kCore = {
    Switch("QUMEDIA-Process Enable"),    Choice("QUMEDIA-Main Tech", main_techs),
    Switch("QUMEDIA-Limit Enable"),      Switch("QUMEDIA-DC Enable"),
    Percent("QUMEDIA-DC Level"),         Switch("QUMEDIA-Definition Enable"),
    Percent("QUMEDIA-Definition Level"),
};

constexpr std::array kWidening = {
    Switch("QUMEDIA-WIDHDX Enhance Mode"),
    Choice("QUMEDIA-WIDHDX ORV3D Mode", space_modes),
    Percent("QUMEDIA-WIDHDX ORV3D Center Level"),
    Percent("QUMEDIA-WIDHDX ORV3D Space Level"),
    Decibels("QUMEDIA-WIDHDX Input Gain", -999, 0),
    Decibels("QUMEDIA-WIDHDX Output Gain", -999, 0),
    Decibels("QUMEDIA-WIDHDX Bypass Gain", -999, 0),
};

constexpr std::array kHeadphone = {
    Switch("QUMEDIA-MXHP MX Decoder Enable"),
    Choice("QUMEDIA-MXHP MX Decoder Mode", decoder_modes),
    Decibels("QUMEDIA-MXHP Input Gain", -999, 0),
    Decibels("QUMEDIA-MXHP Output Gain", -999, 0),
    Decibels("QUMEDIA-MXHP Bypass Gain", -999, 0),
};

constexpr std::array kBass = {
    Switch("QUMEDIA-DPHD Enable"),
    Percent("QUMEDIA-DPHD Level"),
    Percent("QUMEDIA-DPHD Compressor Level"),
    Choice("QUMEDIA-DPHD Mode", bass_modes),
    Switch("QUMEDIA-DPHD Split Analysis Enable"),
    Hertz("QUMEDIA-DPHD Speaker Audio Custom Size", 40, 600),
    Hertz("QUMEDIA-DPHD Speaker Analysis Custom Size", 40, 600),
};

constexpr std::array kHighPass = {
    Switch("QUMEDIA-HPF Enable"),
    Number("QUMEDIA-HPF Order", 1, 8),
    Hertz("QUMEDIA-HPF Frequency", 20, 2000),
};

constexpr std::array kHardLimiter = {
    Switch("QUMEDIA-Hard Limiter Enable"),
    Decibels("QUMEDIA-Hard Limiter Input Gain", -999, 12),
    Decibels("QUMEDIA-Hard Limiter Output Gain", -999, 12),
    Decibels("QUMEDIA-Hard Limiter Bypass Gain", -999, 0),
    Decibels("QUMEDIA-Hard Limiter Boost Offset", -999, 48),
    Percent("QUMEDIA-Hard Limiter Limit Level"),
};

constexpr std::array kEqualiser = {
    Switch("QUMEDIA-Link PEQ Enable"),       ORV_PEAKING_BAND("QUMEDIA", "Left", 0),
    ORV_PEAKING_BAND("QUMEDIA", "Left", 1),  ORV_PEAKING_BAND("QUMEDIA", "Left", 2),
    ORV_PEAKING_BAND("QUMEDIA", "Left", 3),  ORV_PEAKING_BAND("QUMEDIA", "Right", 0),
    ORV_PEAKING_BAND("QUMEDIA", "Right", 1), ORV_PEAKING_BAND("QUMEDIA", "Right", 2),
    ORV_PEAKING_BAND("QUMEDIA", "Right", 3),
};

}  // namespace qumedia

}  // namespace orv::technology
