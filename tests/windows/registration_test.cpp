// Registration with the platform's own tool and type library calls, in the registry of the Wine
// prefix.
#include <filesystem>
#include <thread>

#include "component_file.h"
#include "platform/com_ptr.h"

namespace orv {
namespace {

constexpr wchar_t kUserClasses[] = L"Software\\Classes\\";

constexpr wchar_t kBoth[] = L"Both";
constexpr wchar_t kApartment[] = L"Apartment";

struct RegisteredClass {
  const CLSID* class_id;
  const wchar_t* threading_model;
  HRESULT made = CLASS_E_CLASSNOTAVAILABLE;  // status of a client's making one
  const IID* interface_id = &IID_IUnknown;
};

constexpr HRESULT kNoDriver = E_FAIL;  // the machine has no such DSP

const RegisteredClass kRegistered[] = {
    {&CLSID_ORVCOMEndpointInfo, kApartment},
    {&CLSID_AnalysisData, kApartment},
    {&CLSID_KELAPOIntelDSP, kApartment, kNoDriver, &IID_IKELAPOIntelDSP},
    {&CLSID_ORVAPOCOMControl, kApartment, S_OK, &IID_IORVAPOControl},
    {&CLSID_ORVOperatingMode, kApartment},
    {&CLSID_ORVAPOSystem, kBoth, S_OK, &IID_IORVAPOSystem},
    {&CLSID_ORVAPOConfigProperty, kBoth, S_OK, &IID_IORVAPOConfigProperty},
    {&CLSID_ORVAPOConfigEnumerator, kBoth, S_OK, &IID_IORVAPOConfigEnumerator},
    {&CLSID_ORVAPOControlEnumerator, kApartment},
    {&CLSID_ORVAPOOpModeEnumerator, kApartment},
    {&CLSID_ORVAPOQCDSP, kApartment, S_OK, &IID_IORVAPOQCDSP},
};

// On a thread of its own.
void ExpectEachMade(DWORD model) {
  std::thread([model] {
    EXPECT_EQ(CoInitializeEx(nullptr, model), S_OK);
    for (const RegisteredClass& row : kRegistered) {
      // There are no proxies: from outside an apartment no object that needs one can be had.
      const bool no_way = model == COINIT_MULTITHREADED && row.threading_model == kApartment;
      ComPtr<IUnknown> object;
      EXPECT_EQ(CoCreateInstance(*row.class_id, nullptr, CLSCTX_INPROC_SERVER, *row.interface_id,
                                 object.PutVoid()),
                row.made == S_OK && no_way ? E_NOINTERFACE : row.made)
          << Utf8FromWide(GuidText(*row.class_id));
      EXPECT_EQ(static_cast<bool>(object), row.made == S_OK && !no_way);
    }
    CoUninitialize();
  }).join();
}

class WindowsRegistrationTest : public ::testing::Test {
 protected:
  ~WindowsRegistrationTest() override {
    RunRegistrationTool(L"/u");
    RunRegistrationTool(L"/u /n /i:user");
  }

  static std::size_t RegisteredClasses(HKEY root, const std::wstring& prefix = {}) {
    std::size_t count = 0;
    for (const RegisteredClass& row : kRegistered)
      count += KeyExists(root, prefix + ClassKey(*row.class_id));
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

TEST_F(WindowsRegistrationTest, RuntimeMakesEveryClassOfClientsInTheApartmentThatFits) {
  ASSERT_EQ(RunRegistrationTool(L""), 0U);
  for (const RegisteredClass& row : kRegistered) {
    const std::wstring server = ClassKey(*row.class_id) + L"\\InprocServer32";
    EXPECT_EQ(RegistryString(HKEY_CLASSES_ROOT, server, L"ThreadingModel"), row.threading_model);
  }
  ExpectEachMade(COINIT_APARTMENTTHREADED);
  ExpectEachMade(COINIT_MULTITHREADED);
}

TEST_F(WindowsRegistrationTest, UserRegistrationLeavesTheMachinesClassesAlone) {
  ASSERT_EQ(RunRegistrationTool(L"/n /i:user"), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CURRENT_USER, kUserClasses), std::size(kRegistered));
  const auto file = RegistryString(
      HKEY_CURRENT_USER, kUserClasses + ClassKey(CLSID_ORVAPOSystem) + L"\\InprocServer32");
  ASSERT_EQ(file, ComponentFile());
  {
    // The runtime under test knows no classes of one user: what it would do with the path is done
    // here.
    const LoadedComponent component(*file);
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(component.GetClassObject(CLSID_ORVAPOSystem, factory.PutVoid()), S_OK);
    ComPtr<IORVAPOSystem> system;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IORVAPOSystem, system.PutVoid()), S_OK);
    EXPECT_EQ(system->InitializeSystem(nullptr), S_OK);
  }
  EXPECT_EQ(RegisteredClasses(HKEY_LOCAL_MACHINE, kUserClasses), 0U);
  EXPECT_EQ(LoadRegistered(), S_OK);
  EXPECT_EQ(RunRegistrationTool(L"/u /n /i:user"), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CURRENT_USER, kUserClasses), 0U);
  EXPECT_NE(LoadRegistered(), S_OK);

  EXPECT_EQ(RunRegistrationTool(L"/n /i:users"), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CURRENT_USER, kUserClasses), 0U);
  EXPECT_EQ(RegisteredClasses(HKEY_CLASSES_ROOT), std::size(kRegistered));
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

TEST_F(WindowsRegistrationTest, TypeLibraryBesideTheComponentStandsInForTheOneInside) {
  const ComponentWithoutTypeLibrary copy;
  constexpr DWORD kRegistrationFailed = 5;
  EXPECT_EQ(RunRegistrationTool(L"", copy.file()), kRegistrationFailed);
  ASSERT_TRUE(CopyFileW(WindowsPath(ORV_TYPE_LIBRARY).c_str(), copy.library().c_str(), TRUE));
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
