#include "intel_dsp/conversion/enumeration_tables.h"

namespace orv {
namespace {

// In the order of kChannelMasks: front, surround and low-frequency channels.
constexpr std::array<const char*, kChannelMasks.size()> kChannelConfigs = {
    "1_0_0", "2_0_0", "3_0_0", "2_0_1", "3_0_1",     "2_2_0",     "3_2_0",
    "2_2_1", "3_2_1", "2_1_0", "3_1_0", "2_1_1",     "3_1_1",     "2_3_0",
    "3_3_0", "2_3_1", "3_3_1", "LtRt",  "Headphone", "BSDigital", "PL2Music"};
constexpr const char* kSuitePrefixes[] = {"", "VQ3D-", "ZENSND-"};

EnumTable MakeChannelConfigTable() {
  EnumTable table;
  for (const char* prefix : kSuitePrefixes)
    for (std::size_t i = 0; i < kChannelConfigs.size(); ++i)
      table.emplace(std::string(prefix) + kChannelConfigs[i], kChannelMasks[i]);
  return table;
}

}  // namespace

const EnumTable& ChannelConfigTable() {
  static const EnumTable table = MakeChannelConfigTable();
  return table;
}

const EnumTable& ORV3DModeTable() {
  static const EnumTable table = {
      {"ORV3D-Stereo", 2},  {"ORV3D-Mono", 0},  {"ORV3D-Single Speaker", 1},
      {"VQ3D-Stereo", 2},   {"VQ3D-Mono", 0},   {"VQ3D-Single Speaker", 1},
      {"ZENSND-Stereo", 2}, {"ZENSND-Mono", 0}, {"ZENSND-Single Speaker", 1}};
  return table;
}

const EnumTable& DPHDModeTable() {
  static const EnumTable table = {{"VQ3D-Mono", 0},          {"VQ3D-Stereo", 1},
                                  {"VQ3D-DPHD Mono", 0},     {"VQ3D-DPHD Stereo", 1},
                                  {"ORV_DPHD_MODE_MONO", 0}, {"ORV_DPHD_MODE_STEREO", 1},
                                  {"ZENSND-Mono", 0},        {"ZENSND-Stereo", 1},
                                  {"ZENSND-DPHD Mono", 0},   {"ZENSND-DPHD Stereo", 1}};
  return table;
}

const EnumTable& MXDecoderModeTable() {
  static const EnumTable table = {
      {"VQ3D-Cinema", 1}, {"VQ3D-Music", 4}, {"ORV_MXD_CINEMA", 1}, {"ORV_MXD_MUSIC", 4}};
  return table;
}

const EnumTable& SpaceHPFCutoffTable() {
  static const EnumTable table = {
      {"VQ3D-80Hz", 0},        {"ORV_SPACEHPF_CUTOFF_FREQ_80HZ", 0},   {"80", 0},
      {"VQ3D-120Hz", 1},       {"ORV_SPACEHPF_CUTOFF_FREQ_120HZ", 1},  {"120", 1},
      {"VQ3D-200Hz", 2},       {"ORV_SPACEHPF_CUTOFF_FREQ_200HZ", 2},  {"200", 2},
      {"VQ3D-240Hz", 3},       {"ORV_SPACEHPF_CUTOFF_FREQ_240HZ", 3},  {"240", 3},
      {"VQ3D-300Hz", 4},       {"ORV_SPACEHPF_CUTOFF_FREQ_300HZ", 4},  {"300", 4},
      {"VQ3D-400Hz", 5},       {"ORV_SPACEHPF_CUTOFF_FREQ_400HZ", 5},  {"400", 5},
      {"VQ3D-500Hz", 6},       {"ORV_SPACEHPF_CUTOFF_FREQ_500HZ", 6},  {"500", 6},
      {"VQ3D-600Hz", 7},       {"ORV_SPACEHPF_CUTOFF_FREQ_600HZ", 7},  {"600", 7},
      {"VQ3D-800Hz", 8},       {"ORV_SPACEHPF_CUTOFF_FREQ_800HZ", 8},  {"800", 8},
      {"VQ3D-Custom Freq", 9}, {"ORV_SPACEHPF_CUTOFF_FREQ_CUSTOM", 9}, {"Custom", 9},
      {"Custom Freq", 9}};
  return table;
}

const EnumTable& SpeakerSizeTable() {
  static const EnumTable table = {
      {"VQ3D-40Hz", 0},        {"ORV_DPHD_SPEAKER_LF_RESPONSE_40HZ", 0},   {"ZENSND-40Hz", 0},
      {"VQ3D-60Hz", 1},        {"ORV_DPHD_SPEAKER_LF_RESPONSE_60HZ", 1},   {"ZENSND-60Hz", 1},
      {"VQ3D-100Hz", 2},       {"ORV_DPHD_SPEAKER_LF_RESPONSE_100HZ", 2},  {"ZENSND-100Hz", 2},
      {"VQ3D-120Hz", 3},       {"ORV_DPHD_SPEAKER_LF_RESPONSE_120HZ", 3},  {"ZENSND-120Hz", 3},
      {"VQ3D-150Hz", 4},       {"ORV_DPHD_SPEAKER_LF_RESPONSE_150HZ", 4},  {"ZENSND-150Hz", 4},
      {"VQ3D-200Hz", 5},       {"ORV_DPHD_SPEAKER_LF_RESPONSE_200HZ", 5},  {"ZENSND-200Hz", 5},
      {"VQ3D-250Hz", 6},       {"ORV_DPHD_SPEAKER_LF_RESPONSE_250HZ", 6},  {"ZENSND-250Hz", 6},
      {"VQ3D-300Hz", 7},       {"ORV_DPHD_SPEAKER_LF_RESPONSE_300HZ", 7},  {"ZENSND-300Hz", 7},
      {"VQ3D-400Hz", 8},       {"ORV_DPHD_SPEAKER_LF_RESPONSE_400HZ", 8},  {"ZENSND-400Hz", 8},
      {"VQ3D-Custom Size", 9}, {"ORV_DPHD_SPEAKER_LF_RESPONSE_CUSTOM", 9}, {"Custom", 9},
      {"Custom Size", 9}};
  return table;
}

const EnumTable& MainTechTable() {
  static const EnumTable table = {
      {"VQ3D-None", 0},   {"ORV_VQ3D_MAINTECH_NONE", 0},  {"VQ3D-WIDHD", 1},
      {"VQ3D-WIDHDX", 1}, {"ORV_VQ3D_MAINTECH_WIDHD", 1},  //
      {"VQ3D-AMHD", 2},   {"ORV_VQ3D_MAINTECH_AMHD", 2},   //
      {"VQ3D-PX3D", 3},   {"ORV_VQ3D_MAINTECH_PX3D", 3},   //
      {"VQ3D-MXHP", 4},   {"ORV_VQ3D_MAINTECH_MXHP", 4},   //
      {"VQ3D-DPHD", 5},   {"ORV_VQ3D_MAINTECH_DPHD", 5}};
  return table;
}

const EnumTable& FilterTypeTable() {
  static const EnumTable table = {{"Default", 0}, {"IirOnly", 1}, {"IirFir", 2}, {"Fir50", 3},
                                  {"Fir257", 4},  {"HpfA", 5},    {"HpfB", 6}};
  return table;
}

}  // namespace orv
