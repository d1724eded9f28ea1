// Single controls of the Skylake module beyond the reference data, and its blocks as text.
#include <gmock/gmock.h>

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
  ExpectEachOnce(log_, {L"Error: [VQ3D-DPHD Level] set aborted. DSP GetParameter() failed.",
                        L"Error: [VQ3D-EVolHD LKFS] set failed. DSP GetParameter() failed.",
                        L"Error: [Advance Gain Controls] set aborted. DSP GetParameter() failed."});
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
  EXPECT_EQ(enabled(), 0);  // the module itself is switched
  AllDoWell();
  DriverMisbehaviour corrupt = Misbehave(Kind::Corrupt, Direction::Get, 0x10014401);
  corrupt.offset = 7;  // the bypass gain leaves its range
  machine_.skylake().misbehaviour = {corrupt};
  EXPECT_EQ(Change("Process Enable", 5), S_OK);
  EXPECT_EQ(enabled(), 1);
  // The module received the block and refused it by itself.
  const DriverRefusal refusal = machine_->RefusedRequests().back();
  EXPECT_FALSE(refusal.planned);
  EXPECT_EQ(refusal.parameter, 0x10014401U);
}

}  // namespace
}  // namespace orv
