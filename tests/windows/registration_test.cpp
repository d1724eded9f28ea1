// Registration with the platform's own tool and type library calls, in the registry of the Wine
// prefix. What is registered for one user is compared in end_to_end.py.
#include <filesystem>

#include "component_file.h"

namespace orv {
namespace {

// The first and the last of them; natively every one is looked at.
const CLSID* const kRegistered[] = {&CLSID_ORVCOMEndpointInfo, &CLSID_ORVAPOQCDSP};

class WindowsRegistrationTest : public ::testing::Test {
 protected:
  ~WindowsRegistrationTest() override { RunRegistrationTool(L"/u"); }

  static std::size_t RegisteredClasses() {
    return static_cast<std::size_t>(std::count_if(
        std::begin(kRegistered), std::end(kRegistered),
        [](const CLSID* class_id) { return KeyExists(HKEY_CLASSES_ROOT, ClassKey(*class_id)); }));
  }
  static HRESULT LoadRegistered() {
    ITypeLib* library = nullptr;
    const HRESULT status =
        LoadRegTypeLib(LIBID_ORV_APO2011_ControllerLib, 1, 4, LOCALE_NEUTRAL, &library);
    if (library != nullptr) library->Release();
    return status;
  }
};

TEST_F(WindowsRegistrationTest, MachineRegistrationComesAndGoes) {
  ASSERT_EQ(RunRegistrationTool(L""), 0U);
  EXPECT_EQ(RegisteredClasses(), std::size(kRegistered));
  const std::wstring system = ClassKey(CLSID_ORVAPOSystem);
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, system), L"ORVAPOSystem Class");
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, system + L"\\InprocServer32"), ComponentFile());
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, system + L"\\TypeLib"),
            GuidText(LIBID_ORV_APO2011_ControllerLib));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, ClassKey(CLSID_ORVEndpointEnumerator)));
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, ClassKey(CLSID_RegistrySettings)));
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, LibraryKey() + L"\\1.4\\0\\win64"), ComponentFile());
  EXPECT_EQ(LoadRegistered(), S_OK);

  EXPECT_EQ(RunRegistrationTool(L""), 0U);
  EXPECT_EQ(RunRegistrationTool(L"/u"), 0U);
  EXPECT_EQ(RegisteredClasses(), 0U);
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, LibraryKey()));
  EXPECT_NE(LoadRegistered(), S_OK);
  EXPECT_EQ(RunRegistrationTool(L"/u"), 0U);
}

// In a folder whose name has a space: a copy of the component whose type library inside is none.
class ComponentWithoutTypeLibrary {
 public:
  ComponentWithoutTypeLibrary() {
    std::filesystem::create_directories(kFolder);
    EXPECT_TRUE(CopyFileW(ComponentFile().c_str(), file().c_str(), FALSE));
    // Taking the resource away is not possible under Wine: it comes back when the rest is written.
    char nothing[] = "none";
    const HANDLE update = BeginUpdateResourceW(file().c_str(), FALSE);
    EXPECT_TRUE(UpdateResourceW(update, L"TYPELIB", MAKEINTRESOURCEW(1), kLanguage, nothing,
                                sizeof nothing));
    EXPECT_TRUE(EndUpdateResourceW(update, FALSE));
  }
  ~ComponentWithoutTypeLibrary() {
    std::error_code ignored;
    std::filesystem::remove_all(kFolder, ignored);
  }
  ComponentWithoutTypeLibrary(const ComponentWithoutTypeLibrary&) = delete;
  ComponentWithoutTypeLibrary& operator=(const ComponentWithoutTypeLibrary&) = delete;

  static std::wstring file() { return std::wstring(kFolder) + L"\\component.dll"; }
  static std::wstring library() { return std::wstring(kFolder) + L"\\component.tlb"; }

 private:
  static constexpr wchar_t kFolder[] = L"C:\\folder of a component";
  static constexpr WORD kLanguage = MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US);
};

TEST_F(WindowsRegistrationTest, TypeLibraryBesideTheComponentReplacesTheOneInside) {
  const ComponentWithoutTypeLibrary copy;
  constexpr DWORD kRegistrationFailed = 5;
  EXPECT_EQ(RunRegistrationTool(L"", copy.file()), kRegistrationFailed);
  ASSERT_TRUE(CopyFileW(DriveZPath(ORV_TYPE_LIBRARY).c_str(), copy.library().c_str(), TRUE));
  EXPECT_EQ(RunRegistrationTool(L"", copy.file()), 0U);
  EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, LibraryKey() + L"\\1.4\\0\\win64"), copy.library());
  EXPECT_EQ(LoadRegistered(), S_OK);
  EXPECT_EQ(RunRegistrationTool(L"/u", copy.file()), 0U);
  EXPECT_FALSE(KeyExists(HKEY_CLASSES_ROOT, LibraryKey()));
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

TEST_F(WindowsRegistrationTest, FailureHalfwayIsReportedAndUndoneByInstall) {
  const VolatileKey obstacle(LibraryKey());
  constexpr LCID kGerman = 0x0407;
  const LCID before = GetThreadLocale();
  SetThreadLocale(kGerman);
  const LoadedComponent component;
  EXPECT_LT(component.Register(), 0);
  EXPECT_EQ(RegisteredClasses(), std::size(kRegistered));
  EXPECT_LT(component.Install(TRUE, L""), 0);
  EXPECT_EQ(RegisteredClasses(), 0U);
  EXPECT_EQ(GetThreadLocale(), kGerman);
  SetThreadLocale(before);
  EXPECT_NE(RunRegistrationTool(L"/n /i"), 0U);
  EXPECT_EQ(RegisteredClasses(), 0U);
}

}  // namespace
}  // namespace orv
