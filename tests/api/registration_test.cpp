// Registration: what is written for the machine or the user, and the registry after it is
// taken back.
#include <boost/algorithm/string/replace.hpp>

#include "api_fixture.h"
#include "platform/dynamic_library.h"

namespace orv {
namespace {

constexpr std::size_t kClasses = 11;
constexpr wchar_t kUserClasses[] = L"Software\\Classes\\";
constexpr wchar_t kLibraryKey[] = L"TypeLib\\{36E9715E-24E6-46DD-A3E7-5AE1355AB402}";

class RegistrationTest : public ApiTest {
 protected:
  // Names of the keys below one; none if the key does not exist.
  std::vector<std::wstring> SubKeys(RegRoot root, const std::wstring& path) {
    return HasKey(*machine_, path, root) ? SubKeyNames(*MachineKey(*machine_, path, root))
                                         : std::vector<std::wstring>();
  }
  // A line for each key from one on, and below it one for each value with its type.
  std::wstring Listing(RegRoot root, const std::wstring& prefix, const std::wstring& path) {
    const auto key = MachineKey(*machine_, prefix + path, root);
    std::wstring lines = path + L'\n';
    for (const std::wstring& name : ValueNames(*key)) {
      std::uint32_t type = kRegNone;
      std::vector<std::uint8_t> bytes;
      ReadValue(*key, name, type, bytes);
      lines += L"  " + std::to_wstring(type) + L' ' + name + L'=' +
               RegistryText(bytes.data(), bytes.size()).value_or(L"(no text)") + L'\n';
    }
    for (const std::wstring& name : SubKeyNames(*key))
      lines += Listing(root, prefix, path + L'\\' + name);
    return lines;
  }
  void ExpectRegistered(RegRoot root, const std::wstring& prefix) {
    std::wstring listing = Listing(root, prefix, L"CLSID") + Listing(root, prefix, L"TypeLib");
    boost::replace_all(listing, OwnModulePath(), L"%MODULE%");
    boost::replace_all(listing, RemoveLastPathElement(OwnModulePath()), L"%FOLDER%");
    std::ifstream expected(ORV_REGISTERED_KEYS);
    EXPECT_EQ(Utf8FromWide(listing), std::string(std::istreambuf_iterator<char>(expected), {}));
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
    EXPECT_EQ(SubKeys(RegRoot::ClassesRoot, L"CLSID").size(), kClasses);
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
  EXPECT_EQ(SubKeys(RegRoot::ClassesRoot, L"CLSID").size(), kClasses - 1);
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
