// Registration: what is written for the machine or the user, and what is left when it is taken
// back.
#include "api_fixture.h"
#include "platform/dynamic_library.h"
#include "platform/guid_text.h"

namespace orv {
namespace {

const std::tuple<const wchar_t*, CLSID, const wchar_t*> kRegistered[] = {
    {L"ORVCOMEndpointInfo", CLSID_ORVCOMEndpointInfo, L"Apartment"},
    {L"AnalysisData", CLSID_AnalysisData, L"Apartment"},
    {L"KELAPOIntelDSP", CLSID_KELAPOIntelDSP, L"Apartment"},
    {L"ORVAPOCOMControl", CLSID_ORVAPOCOMControl, L"Apartment"},
    {L"ORVOperatingMode", CLSID_ORVOperatingMode, L"Apartment"},
    {L"ORVAPOSystem", CLSID_ORVAPOSystem, L"Both"},
    {L"ORVAPOConfigProperty", CLSID_ORVAPOConfigProperty, L"Both"},
    {L"ORVAPOConfigEnumerator", CLSID_ORVAPOConfigEnumerator, L"Both"},
    {L"ORVAPOControlEnumerator", CLSID_ORVAPOControlEnumerator, L"Apartment"},
    {L"ORVAPOOpModeEnumerator", CLSID_ORVAPOOpModeEnumerator, L"Apartment"},
    {L"ORVAPOQCDSP", CLSID_ORVAPOQCDSP, L"Apartment"},
};

constexpr wchar_t kUserClasses[] = L"Software\\Classes\\";
constexpr wchar_t kLibraryKey[] = L"TypeLib\\{36E9715E-24E6-46DD-A3E7-5AE1355AB402}";

class RegistrationTest : public ApiTest {
 protected:
  std::wstring Text(RegRoot root, const std::wstring& path, const std::wstring& name = {}) {
    std::uint32_t type = kRegNone;
    std::vector<std::uint8_t> bytes;
    ReadValue(*MachineKey(*machine_, path, root), name, type, bytes);
    return type == kRegSz ? *RegistryText(bytes.data(), bytes.size()) : L"(no text)";
  }
  // Names of the keys below one; none when there is no such key.
  std::vector<std::wstring> SubKeys(RegRoot root, const std::wstring& path) {
    return HasKey(*machine_, path, root) ? SubKeyNames(*MachineKey(*machine_, path, root))
                                         : std::vector<std::wstring>();
  }
  void ExpectRegistered(RegRoot root, const std::wstring& prefix) {
    EXPECT_EQ(SubKeys(root, prefix + L"CLSID").size(), std::size(kRegistered));
    for (const auto& [name, class_id, threading] : kRegistered) {
      const std::wstring key = prefix + L"CLSID\\" + GuidText(class_id);
      EXPECT_EQ(Text(root, key), name + std::wstring(L" Class"));
      EXPECT_EQ(Text(root, key + L"\\InprocServer32"), OwnModulePath());
      EXPECT_EQ(Text(root, key + L"\\InprocServer32", L"ThreadingModel"), threading);
      EXPECT_EQ(Text(root, key + L"\\TypeLib"), GuidText(LIBID_ORV_APO2011_ControllerLib));
      EXPECT_EQ(Text(root, key + L"\\Version"), L"1.0");
      EXPECT_EQ(SubKeys(root, key).size(), class_id == CLSID_ORVCOMEndpointInfo ? 4U : 3U);
    }
    const std::wstring library = prefix + kLibraryKey + L"\\1.4";
    EXPECT_EQ(Text(root, library), L"ORV_APO2011_ControllerLib");
    EXPECT_EQ(Text(root, library + L"\\0\\win64"), OwnModulePath());
    EXPECT_EQ(Text(root, library + L"\\FLAGS"), L"0");
    EXPECT_EQ(Text(root, library + L"\\HELPDIR"), RemoveLastPathElement(OwnModulePath()));
  }
  void ExpectNothing(RegRoot root, const std::wstring& prefix) {
    EXPECT_EQ(SubKeys(root, prefix + L"CLSID").size(), 0U);
    EXPECT_EQ(SubKeys(root, prefix + L"TypeLib").size(), 0U);
  }
};

TEST_F(RegistrationTest, EveryClassIsRegisteredAndTakenBack) {
  EXPECT_EQ(DllRegisterServer(), S_OK);
  ExpectRegistered(RegRoot::ClassesRoot, L"");
  EXPECT_EQ(DllRegisterServer(), S_OK);
  EXPECT_EQ(DllUnregisterServer(), S_OK);
  ExpectNothing(RegRoot::ClassesRoot, L"");
  EXPECT_EQ(DllUnregisterServer(), S_OK);

  EXPECT_EQ(DllRegisterServer(), S_OK);
  MachineKey(*machine_, std::wstring(kLibraryKey) + L"\\1.3", RegRoot::ClassesRoot);
  EXPECT_EQ(DllUnregisterServer(), S_OK);
  EXPECT_EQ(SubKeys(RegRoot::ClassesRoot, kLibraryKey), std::vector<std::wstring>{L"1.3"});
}

TEST_F(RegistrationTest, UserCommandRegistersForTheUser) {
  EXPECT_EQ(DllInstall(TRUE, L"USER"), S_OK);
  ExpectRegistered(RegRoot::CurrentUser, kUserClasses);
  EXPECT_EQ(DllInstall(FALSE, L"user"), S_OK);
  ExpectNothing(RegRoot::CurrentUser, kUserClasses);
}

TEST_F(RegistrationTest, OtherCommandsRegisterForTheMachine) {
  for (const wchar_t* command : {L"users", L"use", L"", static_cast<const wchar_t*>(nullptr)}) {
    EXPECT_EQ(DllInstall(TRUE, command), S_OK);
    EXPECT_EQ(SubKeys(RegRoot::ClassesRoot, L"CLSID").size(), std::size(kRegistered));
    ExpectNothing(RegRoot::CurrentUser, kUserClasses);
    EXPECT_EQ(DllInstall(FALSE, command), S_OK);
    ExpectNothing(RegRoot::ClassesRoot, L"");
  }
}

TEST_F(RegistrationTest, FirstFailureEndsTheRegistration) {
  machine_->faults().FailNth("registry.set_value", 12, kRegWriteFault);
  EXPECT_EQ(DllRegisterServer(), orv_apo::StatusOfSystemError(kRegWriteFault));
  EXPECT_EQ(SubKeys(RegRoot::ClassesRoot, L"CLSID").size(), 3U);  // five values a class

  machine_->faults().FailNth("registry.set_value", 12, kRegWriteFault);
  EXPECT_EQ(DllInstall(TRUE, nullptr), orv_apo::StatusOfSystemError(kRegWriteFault));
  ExpectNothing(RegRoot::ClassesRoot, L"");

  EXPECT_EQ(DllRegisterServer(), S_OK);
  machine_->faults().FailNth("registry.delete_tree", 2, kRegAccessDenied);
  EXPECT_EQ(DllUnregisterServer(), E_ACCESSDENIED);
  EXPECT_EQ(SubKeys(RegRoot::ClassesRoot, L"CLSID").size(), std::size(kRegistered) - 1);
}

TEST_F(RegistrationTest, ClassesWithoutFactoryAreNotAvailable) {
  EXPECT_EQ(DllGetClassObject(CLSID_ORVAPOSystem, IID_IClassFactory, nullptr), E_POINTER);
  for (const CLSID& class_id : {CLSID_ORVOperatingMode, CLSID_AnalysisData,
                                CLSID_ORVCOMEndpointInfo, CLSID_RegistrySettings, GUID_NULL}) {
    void* factory = Poison<void>();
    EXPECT_EQ(DllGetClassObject(class_id, IID_IClassFactory, &factory), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(factory, nullptr);
  }
}

}  // namespace
}  // namespace orv
