// Records of the three DSP drivers as text. What the records hold for a mode's controls is compared
// with the reference data elsewhere.
#include <gtest/gtest.h>

#include <sstream>

#include "intel_dsp/broadwell/coefficients.h"
#include "intel_dsp/broadwell/parameter_blocks.h"
#include "intel_dsp/filter_designs.h"
#include "intel_dsp/skylake/writers.h"
#include "qc_dsp/qualcomm_records.h"
#include "support/reference_data.h"

namespace orv {
namespace {

using Bytes = std::vector<std::byte>;
using Texts = std::map<std::string, std::string>;

Texts TextsOf(const std::vector<DecodedField>& fields) {
  Texts texts;
  for (const DecodedField& field : fields) texts[field.control] = field.text;
  return texts;
}
Texts Skylake(std::uint32_t number, std::span<const std::byte> block) {
  return TextsOf(skylake::DecodeBlock(0x10014400 + number, block));
}

// `expected`: "CONTROL=TEXT;" for some of the texts.
void ExpectTexts(Texts texts, const char* expected) {
  std::istringstream stream(expected);
  std::string control;
  for (std::string text;
       std::getline(stream >> std::ws, control, '=') && std::getline(stream, text, ';');)
    EXPECT_EQ(texts[control], text) << control;
}

TEST(Decoder, SkylakeFieldsReadAsTheirControls) {
  const nlohmann::json& blocks = ReferenceData("skylake_single.json").at("modes")[0].at("blocks");
  Texts texts;
  for (const auto& [id, digits] : blocks.items())
    texts.merge(Skylake(ParameterOf(id) & 0xFF, BytesOfHex(digits)));
  texts.merge(Skylake(0x11, BytesOfHex("80bb0000")));
  Bytes odd = BytesOfHex(blocks.at("0x10014404"));
  odd[8] = std::byte{9};
  odd[12] = std::byte{77};
  odd[16] = std::byte{3};
  for (const auto& [control, text] : Skylake(4, odd)) texts["odd " + control] = text;
  texts["mute"] = Skylake(9, BytesOfHex("0100000000000000"))["VQ3D-AEQ Bypass Gain"];
  texts["negative"] = Skylake(9, BytesOfHex("010000000080ffff"))["VQ3D-AEQ Bypass Gain"];
  ExpectTexts(texts, R"(
VQ3D-Process Enable=on; VQ3D-EVolHD Enable=off; VQ3D-Bypass Gain=-6.8 dB; VQ3D-Main Tech=VQ3D-AMHD;
VQ3D-Vocalift Process Gain=3.1 dB; VQ3D-DPHD Level=23.8 %; VQ3D-DPHD Speaker Audio Size=120 Hz;
VQ3D-DPHD Mode=VQ3D-DPHD Stereo; VQ3D-Space HPF Cutoff Freq=400 Hz;
VQ3D-MXHP MX Decoder Mode=VQ3D-Cinema; VQ3D-GEQ 10kHz Gain=-11.6 dB;
VQ3D-Master Volume L/R Balance=-3; VQ3D-Hard Limiter Output Gain=-11.7 dB;
VQ3D-Hard Limiter Delay Length=131; VQ3D-Hard Limiter Boost Offset=9.1 dB;
odd VQ3D-DPHD Speaker Audio Size=custom; odd VQ3D-DPHD Speaker Analysis Size=code 77;
odd VQ3D-DPHD Split Analysis Enable=3; mute=-inf dB; negative=linear -1; sample rate=48000 Hz;)");
}

TEST(Decoder, SkylakeCoefficientsAreDecodedWordByWord) {
  using namespace skylake;
  FilterCoefficients filter = MakeFilterPreset(4);  // 257 taps
  filter.high_pass = true;
  filter.high_pass_order = 4;
  filter.high_pass_words = DesignHighPass(60, 4);
  for (const std::uint32_t number : {0x0DU, 0x0EU}) {
    Bytes block = number == 0x0D ? MakeLeftFilterBlock(filter) : MakeRightFilterBlock(filter);
    const std::span bytes(block);
    EXPECT_EQ(skylake::BlockName(0x10014400 + number), "KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU");
    const auto fields = skylake::DecodeBlock(0x10014400 + number, bytes);
    ASSERT_EQ(fields.size(), block.size() / 4);
    for (const DecodedField& field : fields)
      EXPECT_EQ(ReadField(bytes, field.offset, FieldType::I32), field.value) << field.control;
    for (std::size_t size = 0; size < block.size(); ++size)
      EXPECT_TRUE(Skylake(number, bytes.first(size)).empty()) << size;
    EXPECT_EQ(Skylake(number, bytes).count("FIR tap 256"), 1U);
    bytes[number == 0x0D ? 23 : 11] = std::byte{0x7F};  // the length of the FIR set
    EXPECT_TRUE(Skylake(number, bytes).empty());
  }
  filter.fir_length = -1;
  ExpectTexts(Skylake(0x0D, MakeLeftFilterBlock(filter)),
              "high-pass order=4; FIR length=-1; high-pass section 2 shift=2; reserved=0;");
  ExpectTexts(
      Skylake(0x10, BytesOfHex("02000000ffffff3f000000000000000000000000000000000300000000000040")),
      "high-pass section 1 b0=1; high-pass gain=2;");
  EXPECT_EQ(Skylake(0x0F, Bytes(96)).size(), 24U);
  EXPECT_EQ(skylake::BlockName(0x10014412), "");
  EXPECT_TRUE(Skylake(0, {}).empty());
}

TEST(Decoder, BroadwellParametersReadAsTheirControls) {
  const nlohmann::json& blocks = ReferenceData("broadwell_single.json").at("modes")[0].at("blocks");
  Bytes amhd = BytesOfHex(blocks.at("21"));
  amhd[4] = std::byte{11};
  amhd[56] = std::byte{9};
  ExpectTexts(TextsOf(broadwell::DecodeBlock(21, amhd)),
              "ZENSND-AMHD Input Mode=ZENSND-2_0_1; ZENSND-DPHD Speaker Audio Size=custom;");
  ExpectTexts(TextsOf(broadwell::DecodeBlock(24, broadwell::HighPassBlock(4, 60))),
              "order=4; section 0 shift=2; section 1 shift=2;");
  EXPECT_EQ(broadwell::BlockName(21) + broadwell::BlockName(24), "AMHDHPF coefficients");
  EXPECT_EQ(broadwell::BlockName(23), "");
}

TEST(Decoder, QualcommFieldsReadInTheirControlsUnits) {
  const QualcommControls mode = {{L"QUMEDIA-Main Tech", 4},
                                 {L"QUMEDIA-WIDHDX Input Gain", -6},
                                 {L"QUMEDIA-DC Level", 33},
                                 {L"QUMEDIA-WIDHDX ORV3D Mode", 3},
                                 {L"QUMEDIA-PEQ Right Band 1 Enable", 1},
                                 {L"QUMEDIA-Hard Limiter Boost Offset", 6},
                                 {L"QUMEDIA-HPF Order", 5},
                                 {L"QUMEDIA-HPF Frequency", 220}};
  const auto read = [&](QualcommParameter parameter) {
    return TextsOf(DecodeQualcommRecord(parameter, QualcommRecord(parameter, mode).payload()));
  };
  ExpectTexts(read(kORVAPOQC_Param_WIDHD), R"(QUMEDIA-WIDHDX Input Gain=-6.0 dB;
QUMEDIA-DC Level=33 %; QUMEDIA-WIDHDX ORV3D Mode=another mode; QUMEDIA-Definition Enable=off;
fixed value=0x40000000;)");
  ExpectTexts(read(kORVAPOQC_Param_Flags), "QUMEDIA-Main Tech=headphone;");
  ExpectTexts(read(kORVAPOQC_Param_PEQ), "QUMEDIA-PEQ Right Band 1 Enable=on;");
  ExpectTexts(read(kORVAPOQC_Param_HardLimiter), "QUMEDIA-Hard Limiter Boost Offset=6.0 dB;");
  Texts high_pass = read(kORVAPOQC_Param_HPF);
  EXPECT_NEAR(std::stod(high_pass["section 2 a1"]), 1.9815394, 1e-6);
  EXPECT_EQ(high_pass.count("gain"), 1U);
  ExpectTexts(TextsOf(DecodeQualcommRecord(kORVAPOQC_Param_HardLimiter, Bytes(24))),
              "QUMEDIA-Hard Limiter Input Gain=mute; fixed value=0x0, expected 0x1;");
}

TEST(Decoder, OnlyQualcommRecordsOfTheRightSizeAreDecoded) {
  const Bytes bytes(QualcommRecord::kLargest + 1);
  for (const QualcommParameter parameter : kQualcommSendingOrder) {
    const std::size_t size = QualcommRecord(parameter, {}).payload().size();
    for (std::size_t i = 0; i <= bytes.size(); ++i)
      EXPECT_EQ(DecodeQualcommRecord(parameter, {bytes.data(), i}).empty(), i != size);
  }
  EXPECT_TRUE(DecodeQualcommRecord(0x10005010, {bytes.data(), 8}).empty());
  EXPECT_EQ(QualcommRecordName(0x10005017), "");
}

}  // namespace
}  // namespace orv
