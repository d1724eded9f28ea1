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
  ExpectLines(
      log,
      {L"| CORVOperatingMode::put_APOEnable | put_APOEnable: 5, 1\n",
       L"| CORVOperatingMode::get_APOEnable | CORVOperatingMode::get_APOEnable returning 0\n"});
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
  ExpectLines(log, {L"| CORVOperatingMode::Init | CORVOperatingMode::Init\n",
                    L"| CORVOperatingMode::SetOpMode | op mode: ApoOpMode:Movie/Internal\n",
                    L"CORVOperatingMode::get_APOEnable can't find the control!\n",
                    L"put_APOEnable: 1, 0\n"});

  const auto level = Control(mode, L"VQ3D-DPHD Level", kORVAPO_Cont_Default);
  EXPECT_EQ(ValueOf(level), 40);
  EXPECT_EQ(level->put_Value(3), E_FAIL);
  ExpectLines(log, {L"WriteControl: Registry key is not opened.\n"});
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

class UpdateTest : public ApiTest {
 protected:
  const ComPtr<IORVOperatingMode> mode_ = Mode(Endpoint());
  const ComPtr<IORVValueUpdate> update_ = mode_.As<IORVValueUpdate>();
  const ComPtr<IORVAPOControl> level_ = Control(mode_, L"VQ3D-DPHD Level");
  const ComPtr<IORVAPOControl> tech_ = Control(mode_, L"VQ3D-Main Tech");
};

TEST_F(UpdateTest, CollectedValuesAreStoredWithOneWrite) {
  EXPECT_EQ(update_->BeginUpdate(), S_OK);
  EXPECT_EQ(update_->BeginUpdate(), E_UNEXPECTED);
  EXPECT_EQ(level_->put_Value(50), S_OK);
  EXPECT_EQ(level_->put_Value(55), S_OK);
  EXPECT_EQ(tech_->put_Value(4), S_OK);
  EXPECT_EQ(Control(mode_, L"VQ3D-Bypass Gain", kORVAPO_Cont_Default)->put_Value(1), E_FAIL);
  EXPECT_EQ(ValueOf(level_), 55);  // the default list does not replace what is collected
  EXPECT_EQ(ValueOf(tech_), 4);
  EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), "(none)");

  EXPECT_EQ(Control(Mode(Endpoint()), L"Undescribed")->put_Value(8), S_OK);
  machine_->faults().FailNth("registry.set_value", 2, kRegAccessDenied);
  EXPECT_EQ(update_->CommitUpdate(), S_OK);
  EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), "55");
  EXPECT_EQ(Stored(kMovie, L"VQ3D-Main Tech"), "VQ3D-MXHP");
  EXPECT_EQ(Stored(kMovie, L"Undescribed"), "8");  // by another mode object since BeginUpdate
  EXPECT_EQ(ValueOf(Control(mode_, L"Undescribed")), 8);

  machine_->faults().Clear();
  EXPECT_EQ(level_->put_Value(60), S_OK);  // the mode object goes on from what was stored
  EXPECT_EQ(Stored(kMovie, L"VQ3D-Main Tech"), "VQ3D-MXHP");
}

TEST_F(UpdateTest, RefusedOrCancelledUpdateLeavesNoTrace) {
  machine_->faults().FailNth("registry.set_value", 1, kRegAccessDenied);
  EXPECT_EQ(update_->BeginUpdate(), S_OK);
  EXPECT_EQ(level_->put_Value(90), S_OK);
  EXPECT_EQ(update_->CommitUpdate(), E_FAIL);
  EXPECT_EQ(ValueOf(level_), 40);
  EXPECT_EQ(update_->BeginUpdate(), S_OK);
  EXPECT_EQ(level_->put_Value(91), S_OK);
  EXPECT_EQ(update_->CancelUpdate(), S_OK);
  EXPECT_EQ(ValueOf(level_), 40);
  const auto mode = Mode(Endpoint());
  EXPECT_EQ(level_->put_Value(42), S_OK);
  EXPECT_EQ(mode.As<IORVValueUpdate>()->BeginUpdate(), S_OK);
  const auto level = Control(mode, L"VQ3D-DPHD Level");
  EXPECT_EQ(ValueOf(level), 42);
  EXPECT_EQ(mode.As<IORVValueUpdate>()->CancelUpdate(), S_OK);
  EXPECT_EQ(ValueOf(level), 40);  // as it was when the mode object was made
  EXPECT_EQ(level_->put_Value(40), S_OK);
  EXPECT_THAT((Answers{update_->CommitUpdate(), update_->CancelUpdate()}), Each(E_UNEXPECTED));

  machine_->faults().FailAlways("registry.set_value", kRegAccessDenied);
  EXPECT_EQ(update_->BeginUpdate(), S_OK);
  EXPECT_EQ(update_->CommitUpdate(), S_OK);  // nothing to write
  machine_->faults().Clear();
  EXPECT_EQ(tech_->put_Value(4), S_OK);
  EXPECT_EQ(Stored(kMovie, L"VQ3D-DPHD Level"), "40");
  machine_->faults().FailAlways("registry.open_key", kRegAccessDenied);
  EXPECT_EQ(update_->BeginUpdate(), E_FAIL);
  EXPECT_EQ(update_->CancelUpdate(), E_UNEXPECTED);
}

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
  ExpectLines(log, {L"| CORVOperatingMode::GetValue | VQ3D-Main Tech returning 4\n"});
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
  ExpectLines(log, {L"| CORVAPOCOMControl::get_Value |  Error, VQ3D-Bypass Gain : "
                    L"m_OpMode->GetValue() failed!\n"});
  const auto choice = Control(Mode(Endpoint()), L"VQ3D-GEQ Enable", kORVAPO_Cont_Private);
  EXPECT_EQ(choice->get_Value(&value), E_FAIL);
  ExpectLines(log, {L"| CORVOperatingMode::GetValue | VQ3D-GEQ Enable not found\n"});
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
  ExpectLines(log, {L"| CORVOperatingMode::GetValue |  VQ3D-DPHD Level: 1000000\n"});
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
