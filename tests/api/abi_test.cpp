// What clients were compiled against: identifiers, slots, enumeration values.
#include <gtest/gtest.h>

#include <cstring>
#include <numeric>
#include <vector>

#include "orv_apo/orv_apo.h"
#include "platform/guid_text.h"

namespace orv {
namespace {

// Position in the interface's table, read from the compiler's own form of a pointer to it.
template <class Method>
std::size_t SlotOf(Method method) {
  std::size_t table_offset = 0;
  std::memcpy(&table_offset, &method, sizeof table_offset);
  return (table_offset - 1) / sizeof(void*);
}

template <class Interface, class... Methods>
void Expect(const wchar_t* identifier, std::size_t first_slot, Methods... methods) {
  EXPECT_EQ(GuidText(orv_apo::InterfaceId<Interface>::value), identifier);
  std::vector<std::size_t> expected(sizeof...(methods));
  std::iota(expected.begin(), expected.end(), first_slot);
  EXPECT_EQ(std::vector<std::size_t>{SlotOf(methods)...}, expected)
      << GuidText(orv_apo::InterfaceId<Interface>::value).c_str();
}

TEST(Abi, EndpointsAndModesHaveTheirIdentifiersAndSlots) {
  Expect<IORVAPOSystem>(L"{BC639F8B-1C5D-4DCC-BB7F-93EDC4FF3CBA}", 3,
                        &IORVAPOSystem::EnumerateORVEndpoints, &IORVAPOSystem::InitializeSystem);
  Expect<IORVEndpointEnumerator>(L"{4164DCD3-8F64-43B2-B564-A4F7D1ECDC98}", 3,
                                 &IORVEndpointEnumerator::Next, &IORVEndpointEnumerator::Reset,
                                 &IORVEndpointEnumerator::GetEndpointFromDevice);
  using Endpoint = IORVEndpointInfo5;
  Expect<IORVEndpointInfo>(
      L"{98D10BCE-ADF3-44BF-A1BF-1B6998B5F13A}", 3, &Endpoint::get_FriendlyName,
      &Endpoint::get_ConfigFile, &Endpoint::get_RegistryPath, &Endpoint::GetOpModeEnumerator,
      &Endpoint::SetDefault, &Endpoint::put_OpMode, &Endpoint::get_OpMode, &Endpoint::GetConfig,
      &Endpoint::SetConfig, &Endpoint::GetQCDSPInterface, &Endpoint::get_config_enum);
  Expect<IORVEndpointInfo2>(L"{A329A711-43CC-4380-B8F8-35981ACB7AC2}", 14,
                            &Endpoint::get_AnalysisData);
  Expect<IORVEndpointInfo3>(L"{78B9D9DA-6F1B-4289-B36D-54DFD6427402}", 15,
                            &Endpoint::get_EndpointProp);
  Expect<IORVEndpointInfo4>(L"{EAAA0127-10D7-4A4C-A6B6-89398F835017}", 16,
                            &Endpoint::get_HeadsetConnected);
  Expect<IORVEndpointInfo5>(L"{84ADF59C-EBA7-4D50-B1DE-610D91ECD560}", 17,
                            &Endpoint::GetIntelInterface);
  Expect<IORVAPOOpModeEnumerator>(L"{50EB3506-619C-431D-B9A0-3DE804A199EB}", 3,
                                  &IORVAPOOpModeEnumerator::Next);
  Expect<IORVOperatingMode>(L"{DDFD5708-307C-44A8-82F7-4EE417CD28D6}", 3,
                            &IORVOperatingMode::get_ORVAPOControlEnumerator,
                            &IORVOperatingMode::get_Name, &IORVOperatingMode::RestoreDefaults,
                            &IORVOperatingMode::get_APOEnable, &IORVOperatingMode::put_APOEnable);
}

TEST(Abi, ControlsAndPropertiesHaveTheirIdentifiersAndSlots) {
  Expect<IORVAPOControlEnumerator>(L"{8B2DE277-FDB6-4553-BAAE-19F800E0004A}", 3,
                                   &IORVAPOControlEnumerator::Next);
  Expect<IORVAPOControlEnumerator2>(L"{C62AD0F2-6035-42FC-9CC4-B91B66CECC5D}", 4,
                                    &IORVAPOControlEnumerator2::GetControlFromName);
  Expect<IORVAPOControl>(L"{B3A20B6C-6C6B-4B41-B40B-03947EA321BE}", 3,
                         &IORVAPOControl::get_DisplayValue, &IORVAPOControl::get_Scale,
                         &IORVAPOControl::get_MinValue, &IORVAPOControl::get_MaxValue,
                         &IORVAPOControl::get_Value, &IORVAPOControl::put_Value);
  Expect<IORVAPOConfigEnumerator>(L"{46A75EF4-9067-4F8F-8E6D-7D2C32494F7A}", 3,
                                  &IORVAPOConfigEnumerator::Next,
                                  &IORVAPOConfigEnumerator::get_ConfigProperty);
  Expect<IORVAPOConfigProperty>(L"{ADFAB239-4507-4C06-BF2F-078665FB0671}", 3,
                                &IORVAPOConfigProperty::get_Key, &IORVAPOConfigProperty::get_Value);
  Expect<IUpdateRegistrySettings>(L"{7371A5CF-D48D-42A4-8D97-BB92187ACFC8}", 3,
                                  &IUpdateRegistrySettings::Save, &IUpdateRegistrySettings::Load);
}

TEST(Abi, DspAndAnalysisHaveTheirIdentifiersAndSlots) {
  Expect<IAnalysisData>(L"{579E37FC-4BB7-4C6E-A551-B1B5B8415F73}", 3, &IAnalysisData::GetPeaks,
                        &IAnalysisData::GetSpectralData);
  Expect<IORVAPOQCDSP>(L"{60C362FB-3DDD-4FA3-9BE8-5A73BD46748C}", 3, &IORVAPOQCDSP::WriteControls,
                       &IORVAPOQCDSP::get_EndpointFormFactor,
                       &IORVAPOQCDSP::put_EndpointFormFactor);
  using Intel = IKELAPOIntelDSP4;
  Expect<IKELAPOIntelDSP>(L"{18B291C1-BE52-4D5F-9B06-6D68468070B7}", 3, &Intel::GetAPIVersion,
                          &Intel::GetModuleInfo, &Intel::ProcessConfigFile, &Intel::WriteControls);
  Expect<IKELAPOIntelDSP2>(L"{A06A7630-CC48-4368-963D-121FB37C27F8}", 7, &Intel::put_APOEnable,
                           &Intel::get_Property, &Intel::put_Property, &Intel::SetPEQ);
  Expect<IKELAPOIntelDSP3>(L"{C0A89B83-0BA3-410B-930E-888E57C723AC}", 11, &Intel::put_dspDeviceId);
  Expect<IKELAPOIntelDSP4>(L"{64F755DA-F559-4676-9BE7-17D9472D2555}", 12, &Intel::get_ApoVersion);
}

// The identifiers of the other classes stand a second time in their registration scripts.
TEST(Abi, ClassesHaveTheirIdentifiers) {
  const std::pair<CLSID, const wchar_t*> classes[] = {
      {CLSID_ORVEndpointEnumerator, L"{FA99BB15-2E36-4590-B701-FC0DE62708D6}"},
      {CLSID_RegistrySettings, L"{8CBB2E93-CFCB-43F8-8481-210F2B6353C5}"},
      {LIBID_ORV_APO2011_ControllerLib, L"{36E9715E-24E6-46DD-A3E7-5AE1355AB402}"}};
  for (const auto& [id, text] : classes) EXPECT_EQ(GuidText(id), text);
}

TEST(Abi, EnumerationsCountFromZeroIn32Bits) {
  const auto expect = [](auto... members) {
    LONG expected = 0;
    for (const LONG member : {static_cast<LONG>(members)...}) EXPECT_EQ(member, expected++);
    static_assert(((sizeof members == 4) && ...));
  };
  expect(kORVAPO_Cont_Public, kORVAPO_Cont_Private, kORVAPO_Cont_Default, kORVAPO_Cont_NumControls);
  expect(ORV_QVT_SCALE_NONE, ORV_QVT_SCALE_ENUM, ORV_QVT_SCALE_BY100, ORV_QVT_SCALE_DB,
         ORV_QVT_SCALE_CUSTOM, ORV_QVT_SCALE_STRING, ORV_QVT_SCALE_COUNT);
  expect(kORVAPO_EPCfg_None, kORVAPO_EPCfg_DSP, kORVAPO_EPCfg_Count);
  expect(kKELAPO_EPProp_Type, kKELAPO_EPProp_Count);
  expect(ORV_QUMEDIA_RESERVED, ORV_QUMEDIA_SPEAKER, ORV_QUMEDIA_HEADSET, ORV_QUMEDIA_HDMI,
         ORV_QUMEDIA_BLUETOOTH, ORV_QUMEDIA_DEVICE_COUNT);
  expect(kKELAPO_Left, kKELAPO_Right, kKELAPO_ChannelCount);
}

}  // namespace
}  // namespace orv
