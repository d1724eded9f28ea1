// Registration with the platform's own tool and type library calls, in the registry of the Wine
// prefix.
#include "component_file.h"

namespace orv {
namespace {

constexpr wchar_t kUserClasses[] = L"Software\\Classes\\";

const CLSID* const kRegistered[] = {&CLSID_ORVCOMEndpointInfo,
                                    &CLSID_AnalysisData,
                                    &CLSID_KELAPOIntelDSP,
                                    &CLSID_ORVAPOCOMControl,
                                    &CLSID_ORVOperatingMode,
                                    &CLSID_ORVAPOSystem,
                                    &CLSID_ORVAPOConfigProperty,
                                    &CLSID_ORVAPOConfigEnumerator,
                                    &CLSID_ORVAPOControlEnumerator,
                                    &CLSID_ORVAPOOpModeEnumerator,
                                    &CLSID_ORVAPOQCDSP};

class WindowsRegistrationTest : public ::testing::Test {
 protected:
  ~WindowsRegistrationTest() override {
    RunRegistrationTool(L"/u");
    RunRegistrationTool(L"/u /n /i:user");
  }

  static std::size_t RegisteredClasses(HKEY root, const std::wstring& prefix = {}) {
    std::size_t count = 0;
    for (const CLSID* class_id : kRegistered)
      count += KeyExists(root, prefix + ClassKey(*class_id));
    return count;
  }
  static HRESULT LoadRegistered(WORD minor_version = 4) {
    ITypeLib* library = nullptr;
    const HRESULT status =
        LoadRegTypeLib(LIBID_ORV_APO2011_ControllerLib, 1, minor_version, LOCALE_NEUTRAL, &library);
    if (library != nullptr) library->Release();
    return status;
  }
};

TEST_F(WindowsRegistrationTest, MachineRegistrationComesAndGoes) {
  ASSERT_EQ(RunRegistrationTool(L""), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CLASSES_ROOT), std::size(kRegistered));
  const std::wstring system = ClassKey(CLSID_ORVAPOSystem);
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, system), L"ORVAPOSystem Class");
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, system + L"\\InprocServer32"), ComponentFile());
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, system + L"\\InprocServer32", L"ThreadingModel"),
            L"Both");
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, system + L"\\TypeLib"),
            GuidText(LIBID_ORV_APO2011_ControllerLib));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, ClassKey(CLSID_ORVEndpointEnumerator)));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, ClassKey(CLSID_RegistrySettings)));
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, LibraryKey() + L"\\1.4\\0\\win64"), ComponentFile());
  EXPECT_EQ(LoadRegistered(), S_OK);

  EXPECT_EQ(RunRegistrationTool(L""), 0U);
  EXPECT_EQ(RunRegistrationTool(L"/u"), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CLASSES_ROOT), 0U);
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, LibraryKey()));
  EXPECT_NE(LoadRegistered(), S_OK);
  EXPECT_EQ(RunRegistrationTool(L"/u"), 0U);
}

TEST_F(WindowsRegistrationTest, UserRegistrationLeavesTheMachinesClassesAlone) {
  ASSERT_EQ(RunRegistrationTool(L"/n /i:user"), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CURRENT_USER, kUserClasses), std::size(kRegistered));
  EXPECT_EQ(RegistryString(HKEY_CURRENT_USER,
                           kUserClasses + ClassKey(CLSID_ORVAPOSystem) + L"\\InprocServer32"),
            ComponentFile());
  EXPECT_EQ(RegisteredClasses(HKEY_LOCAL_MACHINE, kUserClasses), 0U);
  EXPECT_EQ(LoadRegistered(), S_OK);
  EXPECT_EQ(RunRegistrationTool(L"/u /n /i:user"), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CURRENT_USER, kUserClasses), 0U);
  EXPECT_NE(LoadRegistered(), S_OK);

  EXPECT_EQ(RunRegistrationTool(L"/n /i:users"), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CURRENT_USER, kUserClasses), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CLASSES_ROOT), std::size(kRegistered));
}

// No key that lasts can be made below one that does not.
class VolatileKey {
 public:
  explicit VolatileKey(std::wstring path) : path_(std::move(path)) {
    HKEY key = nullptr;
    EXPECT_EQ(RegCreateKeyExW(HKEY_CLASSES_ROOT, path_.c_str(), 0, nullptr, REG_OPTION_VOLATILE,
                              KEY_ALL_ACCESS, nullptr, &key, nullptr),
              ERROR_SUCCESS);
    RegCloseKey(key);
  }
  ~VolatileKey() { RegDeleteKeyW(HKEY_CLASSES_ROOT, path_.c_str()); }
  VolatileKey(const VolatileKey&) = delete;
  VolatileKey& operator=(const VolatileKey&) = delete;

 private:
  std::wstring path_;
};

TEST_F(WindowsRegistrationTest, FailureHalfwayIsToldAndUndoneByInstall) {
  const VolatileKey obstacle(LibraryKey());
  constexpr LCID kGerman = 0x0407;
  const LCID before = GetThreadLocale();
  SetThreadLocale(kGerman);
  const LoadedComponent component;
  EXPECT_LT(component.Register(), 0);
  EXPECT_EQ(RegisteredClasses(HKEY_CLASSES_ROOT), std::size(kRegistered));
  EXPECT_LT(component.Install(TRUE, L""), 0);
  EXPECT_EQ(RegisteredClasses(HKEY_CLASSES_ROOT), 0U);
  EXPECT_EQ(GetThreadLocale(), kGerman);
  SetThreadLocale(before);
  EXPECT_NE(RunRegistrationTool(L"/n /i"), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CLASSES_ROOT), 0U);
}

}  // namespace
}  // namespace orv
