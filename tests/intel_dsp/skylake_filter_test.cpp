// High-pass and equaliser coefficients of the Skylake module beyond the reference data.
#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include "dsp_math/cascade_response.h"
#include "intel_dsp/filter_designs.h"
#include "skylake_module.h"
#include "support/failing_allocator.h"

namespace orv {
namespace {

using namespace skylake;
using testing::ElementsAre;

constexpr std::uint32_t kLeft = 0x0D;
constexpr std::uint32_t kRight = 0x0E;

class SkylakeFilters : public SkylakeModuleTest {
 protected:
  SkylakeFilters() { mode_.clear(); }

  void Band(const std::string& channel, int index, int frequency, int q, int gain,
            const nlohmann::json& type) {
    const std::string stem = "PEQ " + channel + " Band " + std::to_string(index) + ' ';
    const std::pair<const char*, nlohmann::json> controls[] = {{"Enable", 0},  // that it is there
                                                               {"Frequency", frequency},
                                                               {"Q Factor", q},
                                                               {"Gain", gain},
                                                               {"Type", type}};
    for (const auto& [name, value] : controls) Set(stem + name, value);
  }
  HRESULT Write() { return dsp_.SetVQ3DHPFAEQControls(mode_, 1); }
};

TEST_F(SkylakeFilters, ChannelsThatDifferInOneBandAreDesignedApart) {
  for (const char* channel : {"Left", "Right"}) Band(channel, 0, 500, 100, 30, 0);
  Band("Left", 1, 1000, 100, 30, 0);
  Band("Right", 1, 1000, 100, -30, 0);
  ASSERT_EQ(Write(), S_OK);
  const Bytes right = Last(kRight);
  const Bytes left = Last(kLeft);
  EXPECT_FALSE(std::equal(right.begin() + 12, right.end(), left.begin() + 24));
}

TEST_F(SkylakeFilters, MoreBandsThanSectionsAreRefused) {
  for (int band = 0; band < 12; ++band) Band("Left", band, 100 + 500 * band, 100, 30, 1);
  EXPECT_EQ(Write(), S_OK);
  EXPECT_THAT(Sent(), ElementsAre(kLeft, kRight));
  Band("Left", 12, 8000, 100, 30, 1);
  EXPECT_EQ(Write(), E_FAIL);
  EXPECT_THAT(Sent(), ElementsAre());
}

TEST_F(SkylakeFilters, BandThatIsNotAFilterPassesItsInputOn) {
  Band("Left", 0, 500, 100, 30, 0);
  Band("Left", 1, 900, 100, 30, "VQ3D-Low Pass");
  ASSERT_EQ(Write(), S_OK);
  const Bytes unity = Last(kLeft);
  Band("Left", 1, 1000, 0, 30, 2);
  EXPECT_EQ(Write(), S_OK);
  EXPECT_EQ(Last(kLeft), unity);
  EXPECT_EQ(log_.Count(L"VQ3D-PEQ Left Band 1 passes its input on: "), 1U);
  Sent();
  Band("Left", 1, 24000, 100, 30, 2);
  EXPECT_EQ(Write(), E_FAIL);
  mode_.erase("VQ3D-PEQ Left Band 1 Gain");
  EXPECT_EQ(Write(), E_FAIL);
  EXPECT_THAT(Sent(), ElementsAre());
}

TEST_F(SkylakeFilters, CoefficientsAreReadBack) {
  machine_.skylake().misbehaviour = {Misbehave(Kind::Corrupt, Direction::Get, 0x1001440D)};
  EXPECT_EQ(Write(), E_FAIL);
  EXPECT_THAT(Sent(), ElementsAre(kLeft, kRight));
  AllDoWell();
  Refuse(Direction::Get, kRight);
  EXPECT_EQ(Write(), E_FAIL);
  AllDoWell();
  Refuse(Direction::Set, kLeft);
  EXPECT_EQ(Write(), kRefusal);
}

double FirDecibels(const std::vector<std::int32_t>& words, double frequency, double rate) {
  std::complex<double> sum = 0;
  const std::size_t taps = words.size() - 3;
  for (std::size_t i = 0; i < taps; ++i)
    sum += std::ldexp(words[1 + i], words[0] - 32) *
           std::polar(1.0, -2 * std::acos(-1.0) * frequency / rate * static_cast<double>(i));
  return 20 * std::log10(std::abs(sum) * std::ldexp(words[taps + 2], words[taps + 1] - 32));
}

TEST(FilterPresets, HaveTheirCornersAndShelves) {
  constexpr double kRate = kIntelSampleRate;
  for (const auto& [type, corner] : {std::pair{5U, 80.0}, {6U, 160.0}}) {
    const FilterCoefficients filter = MakeFilterPreset(type);
    const Cascade high_pass = Cascade::FromWords(filter.high_pass_words.data(), 3);
    EXPECT_TRUE(high_pass.Stable());
    EXPECT_NEAR(high_pass.Decibels(corner, kRate), -3.01, 0.05);
    EXPECT_NEAR(high_pass.Decibels(corner / 2, kRate), -36.1, 0.3);
  }
  for (const std::uint32_t type : {1U, 2U, 3U, 4U}) {
    const FilterCoefficients filter = MakeFilterPreset(type);
    const auto sections = static_cast<std::size_t>(filter.iir_order / 2);
    const Cascade equalizer = Cascade::FromWords(filter.iir_words.data(), sections);
    EXPECT_TRUE(equalizer.Stable());
    EXPECT_NEAR(equalizer.Decibels(20, kRate), 3, 0.3) << type;
    if (filter.fir_length <= 0) continue;
    EXPECT_NEAR(FirDecibels(filter.fir_words, 1000, kRate), 0, 0.05) << type;
    EXPECT_LT(FirDecibels(filter.fir_words, 15900, kRate), type == 4 ? -60 : -3) << type;
  }
}

FilterCoefficients Filter(int high_pass_order, int iir_order, int fir_length) {
  FilterCoefficients filter;
  filter.high_pass = high_pass_order > 0;
  filter.high_pass_order = high_pass_order;
  filter.high_pass_words.assign(IirWords(high_pass_order), 1);
  filter.equalizer = true;
  filter.iir_order = iir_order;
  filter.iir_words.assign(IirWords(iir_order), 2);
  filter.fir_length = fir_length;
  filter.fir_words.assign(FirWords(fir_length), 3);
  return filter;
}

TEST_F(SkylakeFilters, BlocksNeverOutgrowTheirBuffers) {
  const auto write = [&](const FilterCoefficients& filter) {
    return dsp_.SetVQ3DFilterCoeff(filter, filter, 0);
  };
  EXPECT_EQ(write(Filter(8, 24, 256)), S_OK);
  EXPECT_EQ(Last(kLeft).size(), 1504U);
  EXPECT_EQ(Last(kRight).size(), 1372U);
  EXPECT_EQ(write(Filter(0, 0, 0)), S_OK);
  EXPECT_EQ(Field(kRight, 8, FieldType::I32), -1);
  Sent();
  FilterCoefficients huge = Filter(4, 4, 0);
  huge.fir_length = std::numeric_limits<std::int32_t>::max();
  FilterCoefficients short_set = Filter(4, 4, 0);
  short_set.iir_words.pop_back();
  for (const FilterCoefficients& filter :
       {Filter(10, 24, 256),  // each in range, too much together
        Filter(8, 26, 0), Filter(8, 24, 257), Filter(12, 24, 0), huge, short_set})
    EXPECT_THROW(write(filter), IntelException);
  EXPECT_THAT(Sent(), ElementsAre());
  const auto failure = [&](const FilterCoefficients& filter, std::size_t failing_allocation) {
    try {
      const FailingAllocations failing(failing_allocation);
      write(filter);
    } catch (const IntelException& error) {
      return std::string(error.what());
    }
    return std::string();
  };
  short_set.iir_words = std::vector<std::int32_t>();  // without storage
  EXPECT_EQ(failure(short_set, 0), "VerifyPointers() - pointers are null");
  EXPECT_EQ(failure(Filter(4, 4, 0), 1), "SetVQ3DFilterCoeff - malloc failed");
}

}  // namespace
}  // namespace orv
