// The contents of the component's file: exports, imports, resources.
#include "component_file.h"

#include <cstring>
#include <set>

namespace orv {
namespace {

class ComponentFileTest : public ::testing::Test {
 protected:
  template <class Record>
  const Record* At(DWORD offset) const {
    return reinterpret_cast<const Record*>(reinterpret_cast<const BYTE*>(component_.module()) +
                                           offset);
  }
  const IMAGE_DATA_DIRECTORY& Directory(int entry) const {
    const auto* headers =
        At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew));
    EXPECT_EQ(headers->FileHeader.Machine, IMAGE_FILE_MACHINE_AMD64);
    return headers->OptionalHeader.DataDirectory[entry];
  }

  LoadedComponent component_;
};

TEST_F(ComponentFileTest, ExactlyFivePlainNamesAreExported) {
  const auto* exports =
      At<IMAGE_EXPORT_DIRECTORY>(Directory(IMAGE_DIRECTORY_ENTRY_EXPORT).VirtualAddress);
  EXPECT_EQ(exports->NumberOfFunctions, 5U);
  std::set<std::string> names;
  const auto* offsets = At<DWORD>(exports->AddressOfNames);
  for (DWORD i = 0; i < exports->NumberOfNames; ++i) names.insert(At<char>(offsets[i]));
  EXPECT_EQ(names, (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllInstall",
                                          "DllRegisterServer", "DllUnregisterServer"}));
}

TEST_F(ComponentFileTest, OnlySystemLibrariesAreNeeded) {
  const std::set<std::string> system = {"advapi32.dll", "kernel32.dll", "msvcrt.dll",
                                        "ole32.dll",    "oleaut32.dll", "setupapi.dll",
                                        "shell32.dll",  "user32.dll"};
  const auto* row =
      At<IMAGE_IMPORT_DESCRIPTOR>(Directory(IMAGE_DIRECTORY_ENTRY_IMPORT).VirtualAddress);
  ASSERT_NE(row->Name, 0U);
  for (; row->Name != 0; ++row) {
    std::string name = At<char>(row->Name);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    EXPECT_TRUE(system.contains(name)) << name;
  }
}

TEST_F(ComponentFileTest, ScriptsAndVersionAreResources) {
  std::set<WORD> scripts;
  EnumResourceNamesW(
      component_.module(), L"REGISTRY",
      [](HMODULE, LPCWSTR, LPWSTR name, LONG_PTR found) -> BOOL {
        reinterpret_cast<std::set<WORD>*>(found)->insert(
            static_cast<WORD>(reinterpret_cast<ULONG_PTR>(name)));
        return TRUE;
      },
      reinterpret_cast<LONG_PTR>(&scripts));
  EXPECT_EQ(scripts, (std::set<WORD>{101, 106, 110, 111, 112, 113, 114, 115, 116, 117, 118, 119}));
  EXPECT_NE(FindResourceW(component_.module(), MAKEINTRESOURCEW(1), L"TYPELIB"), nullptr);
  const HRSRC version = FindResourceW(component_.module(), MAKEINTRESOURCEW(VS_VERSION_INFO),
                                      reinterpret_cast<LPCWSTR>(RT_VERSION));
  ASSERT_NE(version, nullptr);
  // The fixed part follows the header, whose key is a text of sixteen units.
  constexpr std::size_t kFixedPart = 40;
  VS_FIXEDFILEINFO numbers = {};
  ASSERT_GE(SizeofResource(component_.module(), version), kFixedPart + sizeof numbers);
  std::memcpy(&numbers,
              static_cast<const BYTE*>(LockResource(LoadResource(component_.module(), version))) +
                  kFixedPart,
              sizeof numbers);
  EXPECT_EQ(numbers.dwSignature, 0xFEEF04BDU);
  EXPECT_EQ(numbers.dwFileVersionMS, 0x00030005U);
  EXPECT_EQ(numbers.dwFileVersionLS, 0x00030001U);
}

}  // namespace
}  // namespace orv
