// Control blocks of the Skylake module beyond the reference data: failures and read-back.
#include <gmock/gmock.h>

#include "skylake_module.h"

namespace orv {
namespace {

using testing::Each;
using testing::ElementsAre;

class SkylakeBlocks : public SkylakeModuleTest {
 protected:
  HRESULT Write(std::uint32_t parameter) {
    return dsp_.WriteControls(skylake::BlockOf(parameter), mode_, 1);
  }
};

TEST_F(SkylakeBlocks, FailedReadLeavesZerosAndTheLastReadDecides) {
  Refuse(Direction::Get, 0x01);
  SkylakeImage image;
  image.fill(std::byte{0xEE});
  EXPECT_EQ(dsp_.GetVQ3DParameters(image), S_OK);
  EXPECT_EQ(image[0], std::byte{0});
  EXPECT_NE(image[16], std::byte{0});
  Refuse(Direction::Get, 0x0C);
  EXPECT_EQ(dsp_.GetVQ3DParameters(image), kRefusal);
}

TEST_F(SkylakeBlocks, StatusesOfTheDriverArePassedOn) {
  const auto statuses = [&](HRESULT status) {
    machine_.skylake().misbehaviour = {Misbehave(Kind::Status, "", status)};
    SkylakeImage image;
    return std::vector{Write(skylake::kGEQ), dsp_.GetVQ3DParameters(image),
                       dsp_.SetPPModuleStatus(1, 0)};
  };
  EXPECT_THAT(statuses(kRefusal), Each(kRefusal));
  EXPECT_THAT(statuses(3), Each(3));
  Sent();
  for (const std::uint32_t number : {0x01U, 0x11U}) {  // the block, and the rate after it
    AllDoWell();
    Refuse(Direction::Set, number);
    EXPECT_EQ(Write(skylake::kVQ3D), kRefusal) << number;
    EXPECT_EQ(Sent().size(), 1U) << number;
  }
}

TEST_F(SkylakeBlocks, BlockOutOfRangeIsRememberedAndNotSent) {
  Set("DPHD Compressor Level", -1);
  Set("DPHD Speaker Audio Size", 185);
  EXPECT_EQ(Write(skylake::kCommon), E_FAIL);
  EXPECT_THAT(Sent(), ElementsAre());
  EXPECT_NE(KELAPOIntelDSP_SKL::CachedImage(), SkylakeImage{});
}

TEST_F(SkylakeBlocks, CoefficientsThatDoNotArriveKeepTheirBlockBack) {
  Set("DPHD Speaker Audio Size", 185);
  Set("Space HPF Cutoff Freq", 77);
  EXPECT_EQ(Write(skylake::kCommon), S_OK);
  EXPECT_EQ(Write(skylake::kPX3D), S_OK);
  EXPECT_THAT(Sent(), ElementsAre(0x0F, 4, 0x10, 5));
  for (const std::uint32_t number : {0x0FU, 0x10U}) Refuse(Direction::Set, number);
  EXPECT_EQ(Write(skylake::kCommon), kRefusal);
  EXPECT_EQ(Write(skylake::kPX3D), kRefusal);
  AllDoWell();
  for (const int hertz : {0, -5, 24000, 14100}) {  // 14100: the all-pass would leave the range
    Set("DPHD Speaker Audio Custom Size", hertz);
    EXPECT_EQ(Write(skylake::kCommon), E_FAIL) << hertz;
    Set("Space HPF Custom Freq", hertz == 14100 ? -1 : hertz);
    EXPECT_EQ(Write(skylake::kPX3D), E_FAIL) << hertz;
  }
  Erase("Space HPF Cutoff Freq");
  Erase("Space HPF Custom Freq");
  EXPECT_EQ(Write(skylake::kPX3D), E_FAIL);
  EXPECT_THAT(Sent(), ElementsAre());
}

TEST_F(SkylakeBlocks, BandGainIsReadChangedAndWritten) {
  const nlohmann::json& data = ReferenceData("conversions.json");
  for (const nlohmann::json& row : data.at("cases")) {
    if (row.at("function") != "band_gain") continue;
    EXPECT_EQ(dsp_.SetGEQBandGain(2, row.at("value"), 1), S_OK);
    EXPECT_EQ(Field(7, 8, FieldType::I16), row.at("expected")) << row;
  }
  EXPECT_EQ(dsp_.SetGEQBandGain(5, 0, 1), E_INVALIDARG);
  EXPECT_EQ(dsp_.SetGEQBandGain(-1, 0, 1), E_INVALIDARG);
  Sent();
  DriverMisbehaviour corrupt = Misbehave(Kind::Corrupt, request::kParameter);
  corrupt.offset = 5;  // another band leaves its range
  machine_.skylake().misbehaviour = {corrupt};
  EXPECT_EQ(dsp_.SetGEQBandGain(1, 0, 1), E_FAIL);
  EXPECT_THAT(Sent(), ElementsAre());
  AllDoWell();
  Refuse(Direction::Get, 7);
  EXPECT_EQ(dsp_.SetGEQBandGain(3, 0, 1), kRefusal);
}

}  // namespace
}  // namespace orv
