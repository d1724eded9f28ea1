// How fields of the driver's records read. What the records hold for a mode's controls is compared
// with the reference data in qualcomm_dsp_test.cpp.
#include "qc_dsp/qualcomm_records.h"

#include <gtest/gtest.h>

namespace orv {
namespace {

std::map<std::string, std::string> Texts(QualcommParameter parameter,
                                         std::span<const std::byte> record) {
  std::map<std::string, std::string> texts;
  for (const DecodedField& field : DecodeQualcommRecord(parameter, record))
    texts[field.control] = field.text;
  return texts;
}

TEST(QualcommRecords, FieldsReadInTheirControlsUnits) {
  const QualcommControls mode = {{L"QUMEDIA-Main Tech", 4},
                                 {L"QUMEDIA-WIDHDX Input Gain", -6},
                                 {L"QUMEDIA-DC Level", 33},
                                 {L"QUMEDIA-WIDHDX ORV3D Mode", 3},
                                 {L"QUMEDIA-PEQ Right Band 1 Enable", 1},
                                 {L"QUMEDIA-Hard Limiter Boost Offset", 6},
                                 {L"QUMEDIA-HPF Order", 5},
                                 {L"QUMEDIA-HPF Frequency", 220}};
  const auto read = [&](QualcommParameter parameter) {
    return Texts(parameter, QualcommRecord(parameter, mode).payload());
  };
  auto texts = read(kORVAPOQC_Param_WIDHD);
  EXPECT_EQ(texts["QUMEDIA-WIDHDX Input Gain"], "-6.0 dB");
  EXPECT_EQ(texts["QUMEDIA-DC Level"], "33 %");
  EXPECT_EQ(texts["QUMEDIA-WIDHDX ORV3D Mode"], "another mode");
  EXPECT_EQ(texts["QUMEDIA-Definition Enable"], "off");
  EXPECT_EQ(texts["fixed value"], "0x40000000");
  EXPECT_EQ(read(kORVAPOQC_Param_Flags)["QUMEDIA-Main Tech"], "headphone");
  EXPECT_EQ(read(kORVAPOQC_Param_PEQ)["QUMEDIA-PEQ Right Band 1 Enable"], "on");
  EXPECT_EQ(read(kORVAPOQC_Param_HardLimiter)["QUMEDIA-Hard Limiter Boost Offset"], "6.0 dB");
  texts = read(kORVAPOQC_Param_HPF);
  EXPECT_NEAR(std::stod(texts["section 2 a1"]), 1.9815394, 1e-6);
  EXPECT_EQ(texts.count("gain"), 1U);
  texts = Texts(kORVAPOQC_Param_HardLimiter, std::vector<std::byte>(24));
  EXPECT_EQ(texts["QUMEDIA-Hard Limiter Input Gain"], "mute");
  EXPECT_EQ(texts["fixed value"], "0x0, expected 0x1");
}

TEST(QualcommRecords, OnlyRecordsOfTheRightSizeAreDecoded) {
  const std::vector<std::byte> bytes(QualcommRecord::kLargest + 1);
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
