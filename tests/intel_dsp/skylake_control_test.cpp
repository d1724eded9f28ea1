// Single controls of the Skylake module beyond the reference data, and its blocks as text.
#include <gmock/gmock.h>

#include <sstream>

#include "platform/text.h"
#include "skylake_module.h"
#include "support/every_failure.h"

namespace orv {
namespace {

using testing::ElementsAre;

class SkylakeControls : public SkylakeModuleTest {
 protected:
  SkylakeControls() {
    for (const auto& [name, value] : mode_) list_.GetOrAdd(name) = value;
  }
  HRESULT Change(const std::string& name, const VARIANT& value) {
    return dsp_.SetControl(Widen("VQ3D-" + name), value, list_, 1);
  }
  HRESULT Change(const std::string& name, std::int32_t number) {
    VARIANT value{};
    value.vt = VT_I4;
    value.lVal = number;
    return Change(name, value);
  }
  HRESULT Change(const std::string& name, const wchar_t* text) {
    VARIANT value{};
    value.vt = VT_BSTR;
    value.bstrVal = SysAllocString(text);
    const HRESULT status = Change(name, value);
    VariantClear(&value);
    return status;
  }
  // The number in the list of last written values; -77 without one.
  std::int32_t Listed(const std::string& name) {
    const ORVQVTValue* value = list_.Find("VQ3D-" + name);
    return value == nullptr ? -77 : value->ToLong();
  }

  ORVQVTValueList list_;
};

TEST_F(SkylakeControls, OnlyKnownNamesAndWholeNumbersAreTaken) {
  for (const char* name :
       {"Hard Limiter Delay Length", "HPF Order", "sample rate", "reserved", "", "process enable"})
    EXPECT_EQ(Change(name, 1), E_INVALIDARG) << name;
  VARIANT real{};
  EXPECT_EQ(dsp_.SetControl(L"reserved", real, list_, 0), E_INVALIDARG);
  real.vt = VT_R4;
  EXPECT_EQ(Change("Headroom Gain", real), E_INVALIDARG);
  EXPECT_EQ(Change("Headroom Gain", L"-60"), E_INVALIDARG);
  EXPECT_EQ(Change("Space HPF Custom Freq", L"360"), E_INVALIDARG);
  EXPECT_THAT(Sent(), ElementsAre());
}

// Without a mode written before, the last of several controls that depend on each other is sent.
TEST_F(SkylakeControls, NewValuesWaitInTheListForTheOthers) {
  list_.Clear();
  for (const char* name : {"DPHD Level", "DPHD Max Level", "DPHD Boost Enable"})
    EXPECT_EQ(Change(name, 1), E_FAIL) << name;
  EXPECT_EQ(Change("DPHD Level", 80), E_FAIL);
  EXPECT_EQ(Change("DPHD Max Level", 100), E_FAIL);
  EXPECT_EQ(Change("DPHD Boost Split", 50), S_OK);
  EXPECT_THAT(Sent(), ElementsAre(4));
  EXPECT_EQ(Field(4, 4, FieldType::I16), 29491);
  EXPECT_EQ(Change("Definition Max Level", 60), E_FAIL);
  EXPECT_EQ(Change("Definition Level", 50), S_OK);
  EXPECT_EQ(Change("DPHD Speaker Audio Custom Size", 185), E_FAIL);
  EXPECT_EQ(Change("DPHD Speaker Analysis Custom Size", 165), E_FAIL);
  EXPECT_EQ(Change("DPHD Speaker Audio Size", L"Custom Size"), S_OK);
  EXPECT_THAT(Sent(), ElementsAre(4, 0x0F, 4));
}

TEST_F(SkylakeControls, ValueThatIsItselfWrongIsNotKept) {
  EXPECT_EQ(Change("Definition Level", -1), E_FAIL);
  EXPECT_EQ(Listed("Definition Level"), PlainMode().at("VQ3D-Definition Level"));
  EXPECT_EQ(Change("Main Tech", L"VQ3D-Nothing"), S_OK);  // not wrong: the module keeps its own
  EXPECT_EQ(list_.Find("VQ3D-Main Tech")->ToString(), "VQ3D-Nothing");
  list_.Remove("VQ3D-DC Level");
  EXPECT_EQ(Change("DC Level", -1), E_FAIL);
  EXPECT_EQ(Listed("DC Level"), -77);
  EXPECT_EQ(Change("DPHD Speaker Audio Size", L"Custom"), S_OK);
  Sent();
  for (const std::int32_t hertz : {30000, 14100}) {  // 14100: the all-pass would leave the range
    EXPECT_EQ(Change("DPHD Speaker Audio Custom Size", hertz), E_FAIL) << hertz;
    EXPECT_EQ(Listed("DPHD Speaker Audio Custom Size"), 330);
  }
  EXPECT_THAT(Sent(), ElementsAre());
}

TEST_F(SkylakeControls, FailedReadLeavesTheListAndRefusedWriteDoesNot) {
  for (const std::uint32_t number : {2U, 4U, 12U}) Refuse(Direction::Get, number);
  EXPECT_EQ(Change("DPHD Level", 10), kRefusal);
  EXPECT_EQ(Change("EVolHD LKFS", -7), kRefusal);
  EXPECT_EQ(Change("GEQ Input Gain", 0), kRefusal);
  for (const wchar_t* line :
       {L"Error: [VQ3D-DPHD Level] set aborted. DSP GetParameter() failed.",
        L"Error: [VQ3D-EVolHD LKFS] set failed. DSP GetParameter() failed.",
        L"Error: [Advance Gain Controls] set aborted. DSP GetParameter() failed."})
    EXPECT_EQ(log_.Count(line), 1U) << line;
  EXPECT_EQ(Listed("DPHD Level"), PlainMode().at("VQ3D-DPHD Level"));
  AllDoWell();
  Refuse(Direction::Set, 4);
  EXPECT_EQ(Change("DPHD Level", 10), kRefusal);
  EXPECT_EQ(Listed("DPHD Level"), 10);
}

TEST_F(SkylakeControls, RunningOutOfMemoryLosesNoControl) {
  const std::wstring name = L"VQ3D-DPHD Boost Split";
  VARIANT value{};
  value.vt = VT_I4;
  value.lVal = 40;
  HRESULT status = S_FALSE;
  list_.Remove("VQ3D-DPHD Boost Split");
  WithEveryAllocationFailing([&] { status = dsp_.SetControl(name, value, list_, 1); },
                             [&](std::size_t) {
                               const std::int32_t listed = Listed("DPHD Boost Split");
                               // Whole or not at all.
                               ASSERT_TRUE(listed == 40 || (FAILED(status) && listed == -77));
                               list_.Remove("VQ3D-DPHD Boost Split");
                             });
  EXPECT_EQ(status, S_OK);
}

TEST_F(SkylakeControls, ProcessEnableIsSwitchedWhateverElseTheBlockHolds) {
  const auto enabled = [&] {
    HRESULT status = 77;
    std::uint8_t on = 9;
    EXPECT_TRUE(client_.GetStatus(status, on, 0));
    return on;
  };
  Refuse(Direction::Get, 1);
  EXPECT_EQ(Change("Process Enable", 0), kRefusal);
  EXPECT_EQ(enabled(), 0);  // the module all the same
  AllDoWell();
  DriverMisbehaviour corrupt = Misbehave(Kind::Corrupt, Direction::Get, 0x10014401);
  corrupt.offset = 7;  // the bypass gain leaves its range
  machine_.skylake().misbehaviour = {corrupt};
  EXPECT_EQ(Change("Process Enable", 5), S_OK);
  EXPECT_EQ(enabled(), 1);
  // The module was asked, and judged for itself.
  const DriverRefusal refusal = machine_->RefusedRequests().back();
  EXPECT_FALSE(refusal.planned);
  EXPECT_EQ(refusal.parameter, 0x10014401U);
}

std::map<std::string, std::string> Decoded(std::uint32_t number, std::span<const std::byte> block) {
  std::map<std::string, std::string> texts;
  for (const DecodedField& field : DecodeSkylakeBlock(0x10014400 + number, block))
    texts[field.control] = field.text;
  return texts;
}

TEST(SkylakeDecoder, FieldsReadAsTheirControlsDo) {
  const nlohmann::json& mode = ReferenceData("skylake_single.json").at("modes").at(0);
  std::map<std::string, std::string> texts;
  for (const auto& [id, digits] : mode.at("blocks").items())
    texts.merge(Decoded(static_cast<std::uint32_t>(std::stoul(id, nullptr, 16)) & 0xFF,
                        BytesOfHex(digits)));
  texts.merge(Decoded(0x11, BytesOfHex("80bb0000")));
  std::vector<std::byte> odd = BytesOfHex(mode.at("blocks").at("0x10014404"));
  odd[8] = std::byte{9};
  odd[12] = std::byte{77};
  odd[16] = std::byte{3};
  for (const auto& [control, text] : Decoded(4, odd)) texts["odd " + control] = text;
  texts["mute"] = Decoded(9, BytesOfHex("0100000000000000"))["VQ3D-AEQ Bypass Gain"];
  texts["negative"] = Decoded(9, BytesOfHex("010000000080ffff"))["VQ3D-AEQ Bypass Gain"];
  std::istringstream expected(R"(
VQ3D-Process Enable=on; VQ3D-EVolHD Enable=off; VQ3D-Bypass Gain=-6.8 dB; VQ3D-Main Tech=VQ3D-AMHD;
VQ3D-Vocalift Process Gain=3.1 dB; VQ3D-DPHD Level=23.8 %; VQ3D-DPHD Speaker Audio Size=120 Hz;
VQ3D-DPHD Mode=VQ3D-DPHD Stereo; VQ3D-Space HPF Cutoff Freq=400 Hz;
VQ3D-MXHP MX Decoder Mode=VQ3D-Cinema; VQ3D-GEQ 10kHz Gain=-11.6 dB;
VQ3D-Master Volume L/R Balance=-3; VQ3D-Hard Limiter Output Gain=-11.7 dB;
VQ3D-Hard Limiter Delay Length=131; VQ3D-Hard Limiter Boost Offset=9.1 dB;
odd VQ3D-DPHD Speaker Audio Size=custom; odd VQ3D-DPHD Speaker Analysis Size=code 77;
odd VQ3D-DPHD Split Analysis Enable=3; mute=-inf dB; negative=linear -1; sample rate=48000 Hz;)");
  std::string control;
  for (std::string text;
       std::getline(expected >> std::ws, control, '=') && std::getline(expected, text, ';');)
    EXPECT_EQ(texts[control], text) << control;
  EXPECT_EQ(control, "sample rate");
}

TEST_F(SkylakeControls, CoefficientBlocksAreDecodedWordByWord) {
  Set("HPF Order", 4);
  Set("HPF Frequency", 60);
  ASSERT_EQ(dsp_.SetVQ3DHPFAEQControls(mode_, 0), S_OK);
  for (const std::uint32_t number : {0x0DU, 0x0EU}) {
    const Bytes block = Last(number);
    EXPECT_EQ(SkylakeBlockName(0x10014400 + number), "KEL_PARAM_VQSND3D_FILTER_CONTROLS_STU");
    const auto fields = DecodeSkylakeBlock(0x10014400 + number, block);
    ASSERT_EQ(fields.size(), block.size() / 4);
    for (const DecodedField& field : fields)
      EXPECT_EQ(ReadField(block, field.offset, FieldType::I32), field.value) << field.control;
    for (std::size_t size = 0; size < block.size(); ++size)
      EXPECT_TRUE(Decoded(number, std::span(block).first(size)).empty()) << size;
  }
  auto texts = Decoded(0x0D, Last(0x0D));
  EXPECT_EQ(texts["high-pass order"], "4");
  EXPECT_EQ(texts["IIR section 12 b0"], "1");
  EXPECT_EQ(texts["FIR length"], "-1");
  Set("Custom Filter Type", "Fir257");
  ASSERT_EQ(dsp_.SetVQ3DHPFAEQControls(mode_, 0), S_OK);
  Bytes lying = Last(0x0D);
  EXPECT_EQ(Decoded(0x0D, lying).count("FIR tap 256"), 1U);
  lying[4 * 5 + 3] = std::byte{0x7F};
  EXPECT_TRUE(Decoded(0x0D, lying).empty());

  const Bytes space =
      BytesOfHex("02000000ffffff3f000000000000000000000000000000000300000000000040");
  EXPECT_EQ(Decoded(0x10, space)["high-pass section 1 b0"], "1");
  EXPECT_EQ(Decoded(0x10, space)["high-pass gain"], "2");
  EXPECT_EQ(Decoded(0x0F, Bytes(96)).size(), 24U);
  EXPECT_EQ(SkylakeBlockName(0x10014412), "");
  EXPECT_TRUE(DecodeSkylakeBlock(0x10014400, {}).empty());
}

}  // namespace
}  // namespace orv
