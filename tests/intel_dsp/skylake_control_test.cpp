// Single controls of the Skylake module, and its blocks as people read them.
#include <gtest/gtest.h>

#include "fake_skylake_driver.h"
#include "platform/text.h"
#include "support/failing_allocator.h"

namespace orv {
namespace {

VARIANT Number(std::int32_t value) {
  VARIANT variant{};
  variant.vt = VT_I4;
  variant.lVal = value;
  return variant;
}

struct Row {
  std::string name;
  int value;
  std::uint32_t number;
  std::size_t offset;
  std::size_t width;
  std::int64_t expected;
};
std::istream& operator>>(std::istream& in, Row& row) {
  char mark = 0;
  std::getline(in >> std::ws, row.name, '=');
  return in >> row.value >> row.number >> mark >> row.offset >> mark >> row.width >> mark >>
         row.expected >> mark;
}

class SkylakeControls : public ::testing::Test {
 protected:
  SkylakeControls() {
    driver.held = FullModeBlocks();
    for (const auto& [name, value] : FullMode()) list.GetOrAdd(name) = value;
    Put("DPHD Speaker Audio Custom Size", 185);
    Put("DPHD Speaker Analysis Custom Size", 165);
    Put("Space HPF Custom Freq", 360);
  }

  void Put(const std::string& name, int value) {
    list.GetOrAdd("VQ3D-" + name) = ORVQVTValue("VQ3D-" + name, std::int32_t{value});
  }
  HRESULT Set(const std::string& name, const VARIANT& value) {
    return dsp.SetControl(Widen("VQ3D-" + name), value, list, 9);
  }
  HRESULT Set(const std::string& name, int value) { return Set(name, Number(value)); }
  HRESULT SetText(const std::string& name, const wchar_t* text) {
    VARIANT variant{};
    variant.vt = VT_BSTR;
    variant.bstrVal = SysAllocString(text);
    const HRESULT status = Set(name, variant);
    VariantClear(&variant);
    return status;
  }
  std::int64_t Field(std::uint32_t number, std::size_t offset, std::size_t width) {
    const Bytes& block = driver.held.at(number);
    return width == 2 ? HalfWord(block, offset) : Word(block, offset);
  }

  FakeSkylakeDriver driver;
  KELAPOIntelDSP_SKL dsp{driver};
  ORVQVTValueList list;
};

TEST_F(SkylakeControls, EveryControlChangesItsFieldAndNothingElse) {
  // Control = value, the parameter's number : offset : width of its field = what it holds then.
  std::istringstream rows(R"(
Headroom Gain=-200 1:4:2=3277; Bypass Gain=0 1:6:2=32767; HPF Enable=0 1:12:4=0;
Main Tech=5 1:8:4=5; EVolHD Enable=-7 2:0:4=1; EVolHD LKFS=-60 2:4:2=16423;
EVolHD Level Intensity=25 2:8:4=536870912; Vocalift Enable=2 3:0:4=1;
Vocalift Clarity Gain=-60 3:4:2=16423; Vocalift Process Gain=0 3:8:4=536870912;
DPHD Enable=0 4:0:4=0; DPHD Split Analysis Enable=1 4:16:4=1;
DPHD Level Independent Enable=0 4:20:4=0; Definition Enable=0 4:32:4=0;
DPHD Compressor Level=50 4:28:2=16384; DPHD Bass Clarity Level=50 4:30:2=16384;
DPHD Mode=2 4:24:4=2; DPHD Speaker Audio Size=60 4:8:4=1; DPHD Speaker Analysis Size=60 4:12:4=1;
DPHD Level=60 4:4:2=26214; DPHD Max Level=50 4:4:2=14746; DPHD Boost Enable=0 4:4:2=13107;
DPHD Boost Split=100 4:4:2=26214; Definition Level=100 4:36:2=16384;
Definition Max Level=100 4:36:2=19661; DialogClarity Enable=0 5:0:4=0;
DialogClarity Level=75 5:4:2=24576; DC Enable=0 5:0:4=0; PX3D Surround Boost Enable=1 5:24:4=1;
Space HPF Enable=0 5:16:4=0; Space HPF Cutoff Freq=800 5:20:4=8;
WIDHD ORV3D Space Level=50 5:8:2=16384; WIDHD ORV3D Center Level=50 5:10:2=16384;
WIDHD Focus Level=50 5:12:2=16384; Ambiwide Level=50 5:6:2=16384;
MXHP MX Decoder Enable=0 6:0:4=0; MXHP MX Decoder Mode=0 6:4:4=1;
MXHP DialogClarity Enable=0 6:8:4=0; MXHP DialogClarity Level=75 6:12:2=24576;
GEQ Enable=0 7:0:4=0; GEQ 100Hz Gain=0 7:4:2=4096; GEQ 300Hz Gain=100000 7:6:2=23060;
GEQ 1kHz Gain=-100000 7:8:2=725; GEQ 3kHz Gain=0 7:10:2=4096; GEQ 10kHz Gain=0 7:12:2=4096;
Tone Enable=0 8:0:4=0; Bass Gain=-12 8:4:4=-12; Treble Gain=1 8:8:4=1; AEQ Enable=0 9:0:4=0;
AEQ Bypass Gain=-200 9:4:2=3277; Master Volume Enable=0 10:0:4=0;
Master Volume Volume Step=100 10:4:4=100; Master Volume L/R Balance=10 10:8:4=10;
Master Volume Output Mute Enable=1 10:12:4=1; Hard Limiter Enable=0 11:0:4=0;
Hard Limiter Output Gain=-60 11:4:2=4106; Hard Limiter Anticlip Enable=0 11:12:4=0;
Hard Limiter Anticlip Level=25 11:16:2=8192; WIDHD Input Gain=-60 12:2:2=16423;
AMHD Input Gain=-60 12:4:2=16423; PX3D Input Gain=-60 12:6:2=16423;
MXHP Input Gain=-60 12:8:2=16423; DPHD Input Gain=-60 12:10:2=16423;
GEQ Input Gain=0 12:12:2=32767; Tone Input Gain=-60 12:14:2=16423;
AEQ Input Gain=-60 12:16:2=16423; DPHD Reference Offset=0 12:18:2=4096;
Hard Limiter Boost Offset=0 12:20:4=67108864;)");
  Row row{};
  int count = 0;
  for (; rows >> row; ++count) {
    driver.held = FullModeBlocks();
    const ORVQVTValueList before = list;
    ASSERT_EQ(Set(row.name, row.value), S_OK) << row.name;
    EXPECT_EQ(Field(row.number, row.offset, row.width), row.expected) << row.name;
    char sent[4];
    std::snprintf(sent, sizeof sent, "%02x", row.number);
    EXPECT_EQ(driver.requests.back(), std::string("set ") + sent + " apply " +
                                          (row.number == 7 && row.offset != 0 ? "0" : "9"));
    EXPECT_EQ(driver.Sent(), sent) << row.name;
    const Bytes& original = FullModeBlocks().at(row.number);
    Bytes& block = driver.held[row.number];
    std::copy_n(original.begin() + static_cast<std::ptrdiff_t>(row.offset), row.width,
                block.begin() + static_cast<std::ptrdiff_t>(row.offset));
    EXPECT_EQ(driver.held, FullModeBlocks()) << row.name;
    list = before;
  }
  EXPECT_EQ(count, 68);
}

TEST_F(SkylakeControls, OnlyKnownNamesAndWholeNumbersAreTaken) {
  for (const char* name :
       {"Hard Limiter Delay Length", "HPF Order", "sample rate", "reserved", "", "process enable"})
    EXPECT_EQ(Set(name, 1), E_INVALIDARG) << name;
  EXPECT_EQ(dsp.SetControl(L"reserved", Number(1), list, 0), E_INVALIDARG);
  VARIANT real{};
  real.vt = VT_R4;
  EXPECT_EQ(Set("Headroom Gain", real), E_INVALIDARG);
  EXPECT_EQ(SetText("Headroom Gain", L"-60"), E_INVALIDARG);
  EXPECT_EQ(SetText("Space HPF Custom Freq", L"360"), E_INVALIDARG);
  EXPECT_TRUE(driver.requests.empty());

  VARIANT wide{};  // counts by its low half
  wide.vt = VT_I8;
  wide.llVal = (std::int64_t{5} << 32) - 60;
  EXPECT_EQ(Set("Headroom Gain", wide), S_OK);
  EXPECT_EQ(Field(1, 4, 2), 16423);
}

TEST_F(SkylakeControls, TextsSelectCodesAndStayInTheList) {
  EXPECT_EQ(SetText("Main Tech", L"VQ3D-MXHP"), S_OK);
  EXPECT_EQ(Field(1, 8, 4), 4);
  EXPECT_EQ(list.Find("VQ3D-Main Tech")->ToString(), "VQ3D-MXHP");
  EXPECT_EQ(SetText("Main Tech", L"VQ3D-Nothing"), S_OK);  // keeps what the DSP holds
  EXPECT_EQ(Field(1, 8, 4), 4);
}

TEST_F(SkylakeControls, CustomFrequenciesResendTheirCoefficients) {
  EXPECT_EQ(Set("Space HPF Custom Freq", 500), S_OK);
  EXPECT_EQ(driver.Sent(), "05");  // a listed cut-off is in force
  EXPECT_EQ(SetText("Space HPF Cutoff Freq", L"Custom Freq"), S_OK);
  EXPECT_EQ(driver.Sent(), "10 05");
  EXPECT_EQ(Set("Space HPF Custom Freq", 360), S_OK);
  EXPECT_EQ(driver.Sent(), "10 05");
  EXPECT_EQ(Word(driver.held[0x10], 4), 438374880);
  EXPECT_EQ(SetText("DPHD Speaker Audio Size", L"Custom"), S_OK);
  EXPECT_EQ(driver.Sent(), "0f 04");
  EXPECT_EQ(Word(driver.held[0x0F], 0), 25751478);
  const Bytes before = driver.held[0x0F];
  EXPECT_EQ(Set("DPHD Speaker Analysis Custom Size", 170), S_OK);
  EXPECT_EQ(driver.Sent(), "0f 04");
  EXPECT_NE(driver.held[0x0F], before);
  EXPECT_EQ(Set("DPHD Speaker Analysis Custom Size", 165), S_OK);
  EXPECT_EQ(driver.held[0x0F], before);
  EXPECT_EQ(Set("DPHD Speaker Audio Custom Size", 30000), E_FAIL);
  EXPECT_EQ(list.Find("VQ3D-DPHD Speaker Audio Custom Size")->ToLong(), 185);
}

TEST_F(SkylakeControls, ClarityLevelChangesBothOfItsFieldsFromTheLastList) {
  EXPECT_EQ(Set("DC Level", 80), S_OK);
  EXPECT_EQ(Field(5, 4, 2), 13107);
  EXPECT_EQ(Field(5, 12, 2), 13107);
  EXPECT_EQ(Set("DC Max Level", 100), S_OK);  // of the new 80
  EXPECT_EQ(Field(5, 4, 2), 26214);
  EXPECT_EQ(Field(5, 12, 2), 26214);
  EXPECT_EQ(driver.Sent(), "05 05");
}

TEST_F(SkylakeControls, AFailureKeepsTheListAndReportsItsCause) {
  const auto level = [&] { return list.Find("VQ3D-DPHD Level")->ToLong(); };
  driver.unreadable = {4, 2, 12, 10};
  EXPECT_EQ(Set("DPHD Level", 10), FakeSkylakeDriver::kRefusal);
  EXPECT_EQ(Set("EVolHD LKFS", -7), FakeSkylakeDriver::kRefusal);
  EXPECT_EQ(Set("GEQ Input Gain", 0), FakeSkylakeDriver::kRefusal);
  driver.unreadable = {};
  driver.refused = {4};
  EXPECT_EQ(Set("DPHD Level", 10), FakeSkylakeDriver::kRefusal);
  driver.refused = {};
  EXPECT_EQ(level(), 80);
  driver.Sent();
  EXPECT_EQ(Set("Definition Level", -1), E_FAIL);
  EXPECT_EQ(Set("Master Volume Volume Step", 101), E_FAIL);
  EXPECT_EQ(Set("Treble Gain", 13), E_FAIL);
  EXPECT_EQ(driver.Sent(), "");
  EXPECT_EQ(list.Find("VQ3D-Definition Level")->ToLong(), 60);
}

TEST_F(SkylakeControls, RunningOutOfMemoryLosesNoControl) {
  const std::wstring name = L"VQ3D-DPHD Boost Split";
  ORVQVTNameList unset;
  unset.Add("VQ3D-DPHD Boost Split");
  list.RemoveNames(unset);
  bool failed = true;
  for (std::size_t nth = 1; failed; ++nth) {
    HRESULT status = S_FALSE;
    {
      const FailingAllocations failing(nth);
      status = dsp.SetControl(name, Number(40), list, 9);
      failed = failing.failed();
    }
    const ORVQVTValue* written = list.Find("VQ3D-DPHD Boost Split");
    ASSERT_TRUE(status == S_OK || (failed && status == E_FAIL)) << nth;
    ASSERT_EQ(written != nullptr, status == S_OK) << nth;  // whole or not at all
    EXPECT_TRUE(written == nullptr || written->ToLong() == 40);
    list.RemoveNames(unset);
  }
}

TEST_F(SkylakeControls, ProcessEnableAlsoSwitchesTheModule) {
  EXPECT_EQ(Set("Process Enable", 0), S_OK);
  EXPECT_EQ(driver.requests,
            (std::vector<std::string>{"get 01 apply 9", "set 01 apply 9", "status 0 apply 9"}));
  EXPECT_EQ(Field(1, 0, 4), 0);
  driver.requests.clear();
  driver.unreadable = {1};
  EXPECT_EQ(Set("Process Enable", 5), FakeSkylakeDriver::kRefusal);
  EXPECT_EQ(driver.requests, (std::vector<std::string>{"get 01 apply 9", "status 1 apply 9"}));
}

std::map<std::string, std::string> Decoded(std::uint32_t number, const Bytes& block) {
  std::map<std::string, std::string> texts;
  for (const DecodedField& field :
       DecodeSkylakeBlock(0x10014400 + number, std::as_bytes(std::span(block))))
    texts[field.control] = field.text;
  return texts;
}

TEST(SkylakeDecoder, FieldsReadAsTheirControlsDo) {
  std::map<std::string, std::string> texts;
  for (const auto& [number, block] : FullModeBlocks()) texts.merge(Decoded(number, block));
  texts.merge(Decoded(0x11, FromHex("80bb0000")));
  Bytes odd = FullModeBlocks().at(4);
  odd[8] = 9;
  odd[12] = 77;
  odd[16] = 3;
  for (const auto& [control, text] : Decoded(4, odd)) texts["odd " + control] = text;
  texts["mute"] = Decoded(9, FromHex("0100000000000000"))["VQ3D-AEQ Bypass Gain"];
  texts["negative"] = Decoded(9, FromHex("010000000080ffff"))["VQ3D-AEQ Bypass Gain"];
  std::istringstream expected(R"(
VQ3D-Process Enable=on; VQ3D-Vocalift Enable=off; VQ3D-Headroom Gain=-6.0 dB;
VQ3D-Main Tech=VQ3D-PX3D; VQ3D-EVolHD Level Intensity=50 %; VQ3D-Vocalift Process Gain=6.0 dB;
VQ3D-DPHD Level=90 %; VQ3D-DPHD Speaker Audio Size=150 Hz; VQ3D-DPHD Mode=VQ3D-DPHD Stereo;
VQ3D-Space HPF Cutoff Freq=300 Hz; VQ3D-MXHP MX Decoder Mode=VQ3D-Music;
VQ3D-GEQ 10kHz Gain=-15.0 dB; VQ3D-Master Volume L/R Balance=-5;
VQ3D-Hard Limiter Output Gain=0.0 dB; VQ3D-Hard Limiter Delay Length=120;
VQ3D-Hard Limiter Boost Offset=12.0 dB; odd VQ3D-DPHD Speaker Audio Size=custom;
odd VQ3D-DPHD Speaker Analysis Size=code 77; odd VQ3D-DPHD Split Analysis Enable=3; mute=-inf dB;
negative=linear -1; sample rate=48000 Hz;)");
  std::string control;
  for (std::string text;
       std::getline(expected >> std::ws, control, '=') && std::getline(expected, text, ';');)
    EXPECT_EQ(texts[control], text) << control;
  EXPECT_EQ(control, "sample rate");
}

TEST(SkylakeDecoder, CoefficientBlocksAreReadWordByWord) {
  FakeSkylakeDriver driver;
  KELAPOIntelDSP_SKL dsp(driver);
  ControlValueMap mode = FullMode();
  ASSERT_EQ(dsp.SetVQ3DHPFAEQControls(mode, 0), S_OK);
  for (const std::uint32_t number : {0x0DU, 0x0EU}) {
    const Bytes& block = driver.held[number];
    const auto bytes = std::as_bytes(std::span(block));
    EXPECT_EQ(SkylakeBlockName(0x10014400 + number), "KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU");
    const auto fields = DecodeSkylakeBlock(0x10014400 + number, bytes);
    ASSERT_EQ(fields.size(), block.size() / 4);
    Bytes again(block.size());
    for (const DecodedField& field : fields) {
      const auto word = static_cast<std::int32_t>(field.value);
      std::memcpy(again.data() + field.offset, &word, sizeof word);
    }
    EXPECT_EQ(again, block);
    for (std::size_t size = 0; size < block.size(); ++size)
      EXPECT_TRUE(DecodeSkylakeBlock(0x10014400 + number, bytes.first(size)).empty()) << size;
  }
  auto texts = Decoded(0x0D, driver.held[0x0D]);
  EXPECT_EQ(texts["high-pass order"], "4");
  EXPECT_EQ(texts["IIR section 12 b0"], "1");
  EXPECT_EQ(texts["FIR length"], "-1");
  Put(mode, "VQ3D-Custom Filter Type", "Fir257");
  ASSERT_EQ(dsp.SetVQ3DHPFAEQControls(mode, 0), S_OK);
  EXPECT_EQ(Decoded(0x0D, driver.held[0x0D]).count("FIR tap 256"), 1U);
  Bytes lying = driver.held[0x0D];
  lying[4 * 5 + 3] = 0x7F;
  EXPECT_TRUE(Decoded(0x0D, lying).empty());

  const Bytes space = FromHex("02000000ffffff3f000000000000000000000000000000000300000000000040");
  EXPECT_EQ(Decoded(0x10, space)["high-pass section 1 b0"], "1");
  EXPECT_EQ(Decoded(0x10, space)["high-pass gain"], "2");
  EXPECT_EQ(Decoded(0x0F, Bytes(96)).size(), 24U);
  EXPECT_EQ(SkylakeBlockName(0x10014412), "");
  EXPECT_TRUE(DecodeSkylakeBlock(0x10014400, {}).empty());
}

}  // namespace
}  // namespace orv
