// Operating modes: their control lists, defaults and the processing switch.
#include "api_fixture.h"

namespace orv {
namespace {

class ModeTest : public ApiTest {
 protected:
  // Undescribed controls have equal display values, so walk by value.
  static std::size_t CountOf(const ComPtr<IORVAPOControlEnumerator2>& controls) {
    std::size_t count = 0;
    ComPtr<IORVAPOControl> control;
    while (controls->Next(control.Put()) == S_OK) ++count;
    return count;
  }
};

TEST_F(ModeTest, EachTypeGivesItsList) {
  const auto mode = Mode(Endpoint());
  EXPECT_EQ(CountOf(Controls(mode, kORVAPO_Cont_Public)), 4U);
  EXPECT_EQ(CountOf(Controls(mode, kORVAPO_Cont_Private)), 2U);
  EXPECT_EQ(CountOf(Controls(mode, kORVAPO_Cont_Default)), 6U);

  auto* controls = Poison<IORVAPOControlEnumerator>();
  for (const int type : {3, -1}) {
    EXPECT_EQ(mode->get_ORVAPOControlEnumerator(static_cast<ORVAPOControlType>(type), &controls),
              E_INVALIDARG);
    EXPECT_EQ(mode->get_ORVAPOControlEnumerator(static_cast<ORVAPOControlType>(type), nullptr),
              E_INVALIDARG);
  }
  EXPECT_EQ(controls, Poison<IORVAPOControlEnumerator>());
  EXPECT_EQ(mode->get_ORVAPOControlEnumerator(kORVAPO_Cont_Public, nullptr), E_POINTER);
  EXPECT_EQ(mode->get_Name(nullptr), E_POINTER);
}

TEST_F(ModeTest, ControlIsFoundByItsExactName) {
  const auto controls = Controls(Mode(Endpoint()));
  auto* missing = Poison<IORVAPOControl>();
  EXPECT_THAT((Answers{controls->Next(nullptr), controls->GetControlFromName(nullptr, &missing),
                       controls->GetControlFromName(Bstr(L"x"), nullptr)}),
              Each(E_POINTER));
  EXPECT_EQ(missing, Poison<IORVAPOControl>());
  for (const wchar_t* name : {L"vq3d-dphd level", L"VQ3D-Headroom Gain"}) {  // without its prefix
    missing = Poison<IORVAPOControl>();
    EXPECT_EQ(controls->GetControlFromName(Bstr(name), &missing), orv_apo::kNotFound);
    EXPECT_EQ(missing, nullptr);
  }
  ComPtr<IORVAPOControl> control;
  EXPECT_EQ(controls->GetControlFromName(Bstr(L"VQ3D-Main Tech"), control.Put()), S_OK);
  EXPECT_EQ(CountOf(controls), 4U);
  EXPECT_EQ(CountOf(Controls(Mode(Endpoint(), kMusic))), 0U);
}

TEST_F(ModeTest, ProcessingSwitchIsStoredAsGiven) {
  const auto mode = Mode(Endpoint());
  LONG enabled = kPoisonedNumber;
  EXPECT_EQ(mode->get_APOEnable(nullptr), E_POINTER);
  EXPECT_EQ(mode->get_APOEnable(&enabled), S_OK);
  EXPECT_EQ(enabled, 1);

  const DiagnosticLog log;
  EXPECT_EQ(mode->put_APOEnable(5), S_OK);
  EXPECT_EQ(Stored(L"OrvApoGlobal", L"ZAPO3-Process Enable"), "5");
  EXPECT_EQ(mode->get_APOEnable(&enabled), S_OK);
  EXPECT_EQ(enabled, 1);
  EXPECT_EQ(mode->put_APOEnable(0), S_OK);
  EXPECT_EQ(Mode(Endpoint(), kMusic)->get_APOEnable(&enabled), S_OK);
  EXPECT_EQ(enabled, 0);
  EXPECT_TRUE(log.Contains(L"| CORVOperatingMode::put_APOEnable | put_APOEnable: 5, 1\n"));
  EXPECT_TRUE(log.Contains(
      L"| CORVOperatingMode::get_APOEnable | CORVOperatingMode::get_APOEnable returning 0\n"));
}

TEST_F(ModeTest, ModeIsHandedOutWithoutItsRegistryKey) {
  const auto endpoint = Endpoint();
  machine_->faults().FailAlways("registry.open_key", kRegAccessDenied);
  const DiagnosticLog log;
  const auto mode = Mode(endpoint);
  EXPECT_EQ(NameOf(*mode), kMovie);
  LONG enabled = kPoisonedNumber;
  EXPECT_EQ(mode->get_APOEnable(&enabled), E_FAIL);
  EXPECT_EQ(enabled, kPoisonedNumber);
  EXPECT_EQ(mode->put_APOEnable(1), E_FAIL);
  EXPECT_EQ(mode->RestoreDefaults(), S_OK);
  EXPECT_TRUE(log.Contains(L"| CORVOperatingMode::Init | CORVOperatingMode::Init\n"));
  EXPECT_TRUE(
      log.Contains(L"| CORVOperatingMode::SetOpMode | op mode: ApoOpMode:Movie/Internal\n"));
  EXPECT_TRUE(log.Contains(L"CORVOperatingMode::get_APOEnable can't find the control!\n"));
  EXPECT_TRUE(log.Contains(L"put_APOEnable: 1, 0\n"));

  const auto level = Control(mode, L"VQ3D-DPHD Level", kORVAPO_Cont_Default);
  EXPECT_EQ(ValueOf(level), 40);
  EXPECT_EQ(level->put_Value(3), E_FAIL);
  EXPECT_TRUE(log.Contains(L"WriteControl: Registry key is not opened.\n"));
}

TEST_F(ModeTest, ValuesFollowTheRegistryAtEachNewEnumerator) {
  const auto mode = Mode(Endpoint());
  const auto control = Control(mode, L"VQ3D-DPHD Level");
  EXPECT_EQ(Control(Mode(Endpoint()), L"VQ3D-DPHD Level")->put_Value(55), S_OK);
  EXPECT_EQ(ValueOf(control), 40);
  Controls(mode, kORVAPO_Cont_Private);
  EXPECT_EQ(ValueOf(control), 55);
  Controls(mode, kORVAPO_Cont_Default);
  EXPECT_EQ(ValueOf(control), 40);
  Controls(mode);
  EXPECT_EQ(ValueOf(control), 55);
}

}  // namespace
}  // namespace orv
