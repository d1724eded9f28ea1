// The texts that Intel DSP controls may hold in place of a number, with the codes of the firmware.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>

namespace orv {

// The code of the two size tables below that means "see the control in hertz".
inline constexpr std::uint32_t kCustomSizeCode = 9;
// By code, in Hz.
inline constexpr std::array<int, 9> kSpeakerSizes = {40, 60, 100, 120, 150, 200, 250, 300, 400};
inline constexpr std::array<int, 9> kSpaceCutoffs = {80, 120, 200, 240, 300, 400, 500, 600, 800};
// Channel masks by index. Bits 0-2: one, two or three front channels; 3: low frequency; 4 and 5: a
// surround pair; 6: a single surround; 8 LtRt, 9 headphone, 10 BSDigital, 11 PL2Music.
inline constexpr std::array<std::uint32_t, 21> kChannelMasks = {
    1, 3, 7, 11, 15, 51, 55, 59, 63, 67, 71, 75, 79, 115, 119, 123, 127, 259, 515, 1087, 2111};

using EnumTable = std::map<std::string, std::uint32_t>;

const EnumTable& ChannelConfigTable();
const EnumTable& ORV3DModeTable();
const EnumTable& DPHDModeTable();
const EnumTable& MXDecoderModeTable();
const EnumTable& SpaceHPFCutoffTable();
const EnumTable& SpeakerSizeTable();
const EnumTable& MainTechTable();
const EnumTable& FilterTypeTable();

}  // namespace orv
