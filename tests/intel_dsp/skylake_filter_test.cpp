// High-pass and equaliser coefficients of the Skylake module.
#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include "../dsp_math/designed_words.h"
#include "dsp_math/cascade_response.h"
#include "fake_skylake_driver.h"
#include "intel_dsp/skylake/filter_presets.h"
#include "support/failing_allocator.h"

namespace orv {
namespace {

constexpr std::uint32_t kLeft = 0x0D;
constexpr std::uint32_t kRight = 0x0E;

std::vector<std::int64_t> Words(const Bytes& bytes, std::size_t from = 0,
                                std::size_t count = std::size_t(-1)) {
  std::vector<std::int64_t> words;
  for (std::size_t i = from; i < bytes.size() / 4 && words.size() < count; ++i)
    words.push_back(Word(bytes, 4 * i));
  return words;
}

class SkylakeFilters : public ::testing::Test {
 protected:
  void Set(const std::string& name, int value) { Put(mode, "VQ3D-" + name, value); }
  void Band(const std::string& channel, int index, int frequency, int q, int gain,
            const char* type) {
    const std::string stem = "PEQ " + channel + " Band " + std::to_string(index) + ' ';
    Set(stem + "Enable", 0);  // that it is there counts
    Set(stem + "Frequency", frequency);
    Set(stem + "Q Factor", q);
    Set(stem + "Gain", gain);
    if (type != nullptr) Put(mode, "VQ3D-" + stem + "Type", type);
  }
  HRESULT Write() { return dsp.SetVQ3DHPFAEQControls(mode, 3); }

  FakeSkylakeDriver driver;
  KELAPOIntelDSP_SKL dsp{driver};
  ControlValueMap mode;
};

TEST_F(SkylakeFilters, BandsAndHighPassFillBothBlocks) {
  Set("HPF Order", 4);
  Set("HPF Frequency", 60);
  Set("HPF Enable", 1);
  Band("Left", 0, 50, 300, -120, "VQ3D-Traditional");
  Band("Left", 1, 500, 200, 200, "0");
  Band("Left", 2, 5000, 200, 60, "VQ3D-Traditional");
  Band("Left", 3, 15000, 400, -120, "VQ3D-Traditional");
  Band("Left", 5, 1000, 100, 100, "0");  // behind a gap
  ASSERT_EQ(Write(), S_OK);
  EXPECT_EQ(driver.requests, (std::vector<std::string>{"set 0d apply 3", "get 0d apply 3",
                                                       "set 0e apply 3", "get 0e apply 3"}));
  const Bytes& left = driver.held[kLeft];
  ASSERT_EQ(left.size(), 64U + 4 * (14 + 74));
  EXPECT_EQ(Words(left, 0, 6), (std::vector<std::int64_t>{1, 4, 1, 1, 24, -1}));
  const auto high_pass = ButterworthWords<std::int32_t>(60, 4);
  EXPECT_TRUE(std::ranges::equal(Words(left, 6, 14), high_pass));
  auto bands = BandWords({{kORVFilter_Traditional, 50, 3, -12, 0},
                          {kORVFilter_Traditional, 500, 2, 20, 0},
                          {kORVFilter_Traditional, 5000, 2, 6, 0},
                          {kORVFilter_Traditional, 15000, 4, -12, 0}});
  bands.resize(24);
  EXPECT_TRUE(std::ranges::equal(Words(left, 6 + 14, 24), bands));
  EXPECT_EQ(Words(left, 6 + 14 + 74), std::vector<std::int64_t>(10, 0));

  std::vector<std::int64_t> flat = {1, 24, -1};
  for (int section = 0; section < 12; ++section)
    flat.insert(flat.end(), {2, 1073741824, 0, 0, 0, 0});
  flat.insert(flat.end(), {2, 1073741824, 0, 0, 0, 0, 0, 0});
  EXPECT_EQ(Words(driver.held[kRight]), flat);

  // Bands of no known type pass everything on, whatever else they say.
  const Bytes right = driver.held[kRight];
  Band("Right", 0, 30000, 0, 990, nullptr);
  Band("Right", 1, 1000, 100, 60, "VQ3D-Low Pass");
  ASSERT_EQ(Write(), S_OK);
  EXPECT_EQ(driver.held[kRight], right);
}

TEST_F(SkylakeFilters, MoreBandsThanSectionsAreRefused) {
  for (int band = 0; band < 12; ++band) Band("Left", band, 100 + 500 * band, 100, 30, "1");
  EXPECT_EQ(Write(), S_OK);
  driver.requests.clear();
  Band("Left", 12, 8000, 100, 30, "1");
  EXPECT_EQ(Write(), E_FAIL);
  EXPECT_EQ(driver.Sent(), "");
}

TEST_F(SkylakeFilters, BandsThatCannotBeDesignedSendNothing) {
  for (const auto& [frequency, q] : {std::pair{24000, 100}, {0, 100}, {1000, 0}, {1000, -50}}) {
    Band("Right", 0, frequency, q, 30, "2");
    EXPECT_EQ(Write(), E_FAIL) << frequency << ' ' << q;
  }
  mode.erase("VQ3D-PEQ Right Band 0 Gain");
  EXPECT_EQ(Write(), E_FAIL);
  EXPECT_EQ(driver.Sent(), "");
}

TEST_F(SkylakeFilters, HighPassOrdersAreCheckedBeforeAnythingIsDesigned) {
  Set("HPF Frequency", 100);
  Set("HPF Enable", 1);
  for (const int order : {std::numeric_limits<int>::min(), -3, 0, 1, 11, 0x7FFFFFFF}) {
    Set("HPF Order", order);
    EXPECT_EQ(Write(), E_FAIL) << order;
  }
  EXPECT_EQ(driver.Sent(), "");
  for (const int order : {2, 3, 10}) {
    Set("HPF Order", order);
    EXPECT_EQ(Write(), S_OK) << order;
    EXPECT_EQ(Words(driver.held[kLeft], 0, 3), (std::vector<std::int64_t>{1, order, 1}));
  }
  driver.requests.clear();
  for (const int frequency : {0, 24000}) {
    Set("HPF Frequency", frequency);
    EXPECT_EQ(Write(), E_FAIL) << frequency;
  }
  EXPECT_EQ(driver.Sent(), "");
  Set("HPF Enable", 0);
  EXPECT_EQ(Write(), S_OK);
  EXPECT_EQ(Words(driver.held[kLeft], 0, 2), (std::vector<std::int64_t>{0, 0}));
}

TEST_F(SkylakeFilters, MissingHighPassControlsLeaveTheEqualizer) {
  EXPECT_EQ(Write(), S_OK);
  EXPECT_EQ(Words(driver.held[kLeft], 0, 6), (std::vector<std::int64_t>{0, 0, 1, 1, 24, -1}));
}

TEST_F(SkylakeFilters, CoefficientsAreReadBack) {
  driver.forgetful = {kLeft};
  EXPECT_EQ(Write(), E_FAIL);
  EXPECT_EQ(driver.Sent(), "0d 0e");
  driver.forgetful = {};
  driver.unreadable = {kRight};
  EXPECT_EQ(Write(), E_FAIL);
  driver.refused = {kLeft};
  driver.unreadable = {};
  EXPECT_EQ(Write(), FakeSkylakeDriver::kRefusal);
}

TEST_F(SkylakeFilters, PresetsFillTheirHeaders) {
  const struct {
    const char* type;
    std::vector<std::int64_t> header;
    std::size_t left_words;
    std::size_t right_words;
  } rows[] = {{"Default", {0, 0, 1, 0, 0, 0}, 0, 0},
              {"IirOnly", {0, 0, 1, 1, 6, -1}, 20, 20},
              {"IirFir", {0, 0, 1, 1, 8, 56}, 26 + 60, 26 + 60},
              {"Fir50", {0, 0, 1, 1, 2, 49}, 8 + 53, 8 + 53},
              {"Fir257", {0, 0, 1, 1, 2, 256}, 8 + 260, 8 + 260},
              {"HpfA", {1, 6, 1, 0, 0, 0}, 20, 0},
              {"HpfB", {1, 6, 1, 0, 0, 0}, 20, 0},
              {"Unheard", {0, 0, 1, 0, 0, 0}, 0, 0},
              {"4", {0, 0, 1, 0, 0, 0}, 0, 0}};
  for (const auto& row : rows) {
    Put(mode, "VQ3D-Custom Filter Type", row.type);
    EXPECT_EQ(Write(), S_OK);
    EXPECT_EQ(Words(driver.held[kLeft], 0, 6), row.header) << row.type;
    EXPECT_EQ(driver.held[kLeft].size(), 64 + 4 * row.left_words) << row.type;
    EXPECT_EQ(driver.held[kRight].size(), 36 + 4 * row.right_words) << row.type;
  }
}

double FirDecibels(const std::vector<std::int32_t>& words, double frequency, double rate) {
  std::complex<double> sum = 0;
  const std::size_t taps = words.size() - 3;
  for (std::size_t i = 0; i < taps; ++i)
    sum += std::ldexp(words[1 + i], words[0] - 32) *
           std::polar(1.0, -2 * std::acos(-1.0) * frequency / rate * static_cast<double>(i));
  return 20 * std::log10(std::abs(sum) * std::ldexp(words[taps + 2], words[taps + 1] - 32));
}

TEST(FilterPresets, SoundTheSameAtEveryRate) {
  const std::pair<int, double> rates[] = {{32, 32000}, {44, 44100}, {48, 48000}, {96, 48000}};
  for (const auto& [code, rate] : rates) {
    for (const auto& [type, corner] : {std::pair{5U, 80.0}, {6U, 160.0}}) {
      const FilterCoefficients filter = MakeFilterPreset(type, code);
      const Cascade high_pass = Cascade::FromWords(filter.high_pass_words.data(), 3);
      EXPECT_TRUE(high_pass.Stable());
      EXPECT_NEAR(high_pass.Decibels(corner, rate), -3.01, 0.05);
      EXPECT_NEAR(high_pass.Decibels(corner / 2, rate), -36.1, 0.3);
    }
    for (const std::uint32_t type : {1U, 2U, 3U, 4U}) {
      const FilterCoefficients filter = MakeFilterPreset(type, code);
      const auto sections = static_cast<std::size_t>(filter.iir_order / 2);
      const Cascade equalizer = Cascade::FromWords(filter.iir_words.data(), sections);
      EXPECT_TRUE(equalizer.Stable());
      EXPECT_NEAR(equalizer.Decibels(20, rate), 3, 0.3) << type;
      if (filter.fir_length <= 0) continue;
      EXPECT_NEAR(FirDecibels(filter.fir_words, 1000, rate), 0, 0.05) << type;
      EXPECT_LT(FirDecibels(filter.fir_words, 15900, rate), type == 4 ? -60 : -3) << type;
    }
    const FilterCoefficients flat = MakeFilterPreset(0, code);
    EXPECT_NEAR(FirDecibels(flat.fir_words, 15000, rate), 0, 1e-6);
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
    return dsp.SetVQ3DFilterCoeff(filter, filter, 0);
  };
  EXPECT_EQ(write(Filter(8, 24, 256)), S_OK);
  EXPECT_EQ(driver.held[kLeft].size(), 1504U);
  EXPECT_EQ(driver.held[kRight].size(), 1372U);
  EXPECT_EQ(write(Filter(0, 0, 0)), S_OK);
  EXPECT_EQ(Words(driver.held[kRight], 0, 5), (std::vector<std::int64_t>{1, 0, -1, 2, 2}));
  driver.requests.clear();
  FilterCoefficients huge = Filter(4, 4, 0);
  huge.fir_length = std::numeric_limits<std::int32_t>::max();
  FilterCoefficients short_set = Filter(4, 4, 0);
  short_set.iir_words.pop_back();
  for (const FilterCoefficients& filter :
       {Filter(10, 24, 256),  // each in range, too much together
        Filter(8, 26, 0), Filter(8, 24, 257), Filter(12, 24, 0), huge, short_set})
    EXPECT_THROW(write(filter), IntelException);
  EXPECT_EQ(driver.Sent(), "");
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
