// Controls: what they are called, which range they have, how numbers become what is stored.
#include "api_fixture.h"

namespace orv {
namespace {

class ControlTest : public ApiTest {
 protected:
  // Name, scale, minimum and maximum.
  using Description = std::tuple<std::wstring, LONG, LONG, LONG>;
  static Description Describe(const ComPtr<IORVAPOControl>& control) {
    BSTR name = nullptr;
    auto scale = static_cast<ORV_QVT_SCALE>(77);
    LONG minimum = kPoisonedNumber;
    LONG maximum = kPoisonedNumber;
    EXPECT_THAT((Answers{control->get_DisplayValue(&name), control->get_Scale(&scale),
                         control->get_MinValue(&minimum), control->get_MaxValue(&maximum)}),
                Each(S_OK));
    return {TakeText(name), scale, minimum, maximum};
  }
};

TEST_F(ControlTest, TechnologyLibraryDescribesControls) {
  const auto mode = Mode(Endpoint());
  // Another system's library changes nothing for this one.
  EXPECT_EQ(Create<IORVAPOSystem>(CLSID_ORVAPOSystem)->InitializeSystem(Bstr(L"C:\\x")), S_OK);
  EXPECT_EQ(Describe(Control(mode, L"VQ3D-Main Tech")),
            (Description{L"VQ3D-Main Tech", ORV_QVT_SCALE_ENUM, 0, 5}));
  EXPECT_EQ(Describe(Control(mode, L"Left:VQ3D-Headroom Gain")),
            (Description{L"VQ3D-Headroom Gain", ORV_QVT_SCALE_DB, -600, 0}));
  EXPECT_EQ(Describe(Control(mode, L"Undescribed")), (Description{L"", ORV_QVT_SCALE_COUNT, 0, 0}));
}

TEST_F(ControlTest, ChoicesArePositionsButStoredAsText) {
  const auto mode = Mode(Endpoint());
  const auto control = Control(mode, L"VQ3D-Main Tech");
  EXPECT_EQ(ValueOf(control), 2);
  const DiagnosticLog log;
  EXPECT_EQ(control->put_Value(4), S_OK);
  EXPECT_EQ(Stored(kMovie, L"VQ3D-Main Tech"), "VQ3D-MXHP");
  EXPECT_EQ(ValueOf(control), 4);
  EXPECT_TRUE(log.Contains(L"| CORVOperatingMode::GetValue | VQ3D-Main Tech returning 4\n"));
  for (const LONG beyond : {6, -1}) {
    EXPECT_EQ(control->put_Value(beyond), S_OK);
    EXPECT_EQ(Stored(kMovie, L"VQ3D-Main Tech"), std::to_string(beyond));
    EXPECT_EQ(ValueOf(control), beyond);
  }
  EXPECT_EQ(control->put_Value(0), S_OK);
  EXPECT_EQ(ValueOf(Control(Mode(Endpoint()), L"VQ3D-Main Tech")), 0);
}

// It has choices, but its own value is none of them.
TEST_F(ControlTest, ControlConfiguredByNumberDoesNotReadChoices) {
  std::string by_number = kTwoModes;
  AddEndpoint(kHeadphones, by_number.replace(by_number.find("VQ3D-AMHD"), 9, "2"));
  const auto control = Control(Mode(Endpoint(kHeadphones)), L"VQ3D-Main Tech");
  EXPECT_EQ(ValueOf(control), 2);
  EXPECT_EQ(control->put_Value(4), S_OK);
  EXPECT_EQ(ValueOf(control), -1);
}

TEST_F(ControlTest, OnlyPublicControlsHaveAValue) {
  const auto control = Control(Mode(Endpoint()), L"VQ3D-Bypass Gain", kORVAPO_Cont_Private);
  LONG value = kPoisonedNumber;
  const DiagnosticLog log;
  EXPECT_EQ(control->get_Value(&value), E_FAIL);
  EXPECT_EQ(value, kPoisonedNumber);
  EXPECT_EQ(control->put_Value(1), E_FAIL);
  EXPECT_TRUE(
      log.Contains(L"| CORVAPOCOMControl::get_Value |  Error, VQ3D-Bypass Gain : "
                   L"m_OpMode->GetValue() failed!\n"));
  const auto choice = Control(Mode(Endpoint()), L"VQ3D-GEQ Enable", kORVAPO_Cont_Private);
  EXPECT_EQ(choice->get_Value(&value), E_FAIL);
  EXPECT_TRUE(log.Contains(L"| CORVOperatingMode::GetValue | VQ3D-GEQ Enable not found\n"));
}

TEST_F(ControlTest, NumbersAreStoredAsTheyAreUnlessTheWriteIsRefused) {
  const auto mode = Mode(Endpoint());
  const auto control = Control(mode, L"VQ3D-DPHD Level");
  // The mode remembers what was refused until it reads stored values again.
  for (const auto& [stored, read_again] : {std::pair{"(none)", 90}, {"40", 40}}) {
    machine_->faults().Clear();
    machine_->faults().FailNth("registry.set_value", 1, kRegAccessDenied);
    EXPECT_EQ(control->put_Value(90), E_FAIL);
    EXPECT_EQ(ValueOf(control), 90);
    EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), stored);
    Controls(mode);
    EXPECT_EQ(ValueOf(control), read_again);
    EXPECT_EQ(control->put_Value(40), S_OK);
  }
  const DiagnosticLog log;
  for (const LONG value : {LONG{0}, LONG{1000000}, std::numeric_limits<LONG>::min()}) {
    EXPECT_EQ(control->put_Value(value), S_OK);
    EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), std::to_string(value));
    EXPECT_EQ(ValueOf(control), value);
  }
  EXPECT_TRUE(log.Contains(L"| CORVOperatingMode::GetValue |  VQ3D-DPHD Level: 1000000\n"));
}

TEST_F(ControlTest, ControlWithoutAModeOrOutParametersFailsCleanly) {
  const auto control = Create<IORVAPOControl>(CLSID_ORVAPOCOMControl);
  EXPECT_THAT((Answers{control->get_DisplayValue(nullptr), control->get_Scale(nullptr),
                       control->get_MinValue(nullptr), control->get_MaxValue(nullptr),
                       control->get_Value(nullptr)}),
              Each(E_POINTER));
  BSTR text = Poison<wchar_t>();
  auto scale = ORV_QVT_SCALE_DB;
  LONG number = kPoisonedNumber;
  EXPECT_THAT((Answers{control->get_DisplayValue(&text), control->get_Scale(&scale),
                       control->get_MinValue(&number), control->get_MaxValue(&number),
                       control->get_Value(&number), control->put_Value(1)}),
              Each(E_UNEXPECTED));
  EXPECT_EQ(text, Poison<wchar_t>());
  EXPECT_EQ(number, kPoisonedNumber);
}

}  // namespace
}  // namespace orv
