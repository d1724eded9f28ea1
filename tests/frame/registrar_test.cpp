#include "frame/registrar.h"

#include <gtest/gtest.h>

#include "frame/registration_script.h"
#include "simulated/simulated_machine.h"
#include "support/registry_story.h"

namespace orv {
namespace {

constexpr char kScript[] = R"(
  HKCR {
    NoRemove CLSID {
      ForceRemove {1-2} = s 'Gadget' {
        Server = s '%MODULE%' { val Model = s 'Both' }
      }
    }
    Shared = s 'mine' { Part }
    Delete Obsolete
    NoRemove Kept = s 'stays' { val Ours = d 1 }
  }
  HKCU { Second })";

class RegistrarTest : public ::testing::Test {
 protected:
  Registrar MakeRegistrar() {
    Registrar registrar(machine_->registry(), false);
    registrar.AddReplacement(L"MODULE", L"C:\\x.dll");
    return registrar;
  }
  bool Has(const std::wstring& path) { return HasKey(*machine_, path, RegRoot::ClassesRoot); }
  std::unique_ptr<RegistryKey> Key(const std::wstring& path) {
    return MachineKey(*machine_, path, RegRoot::ClassesRoot);
  }

  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory();
};

TEST_F(RegistrarTest, RegisteringAgainClearsOnlyForcedKeys) {
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  Key(L"CLSID\\{1-2}\\Left over");
  Key(L"Shared\\Left over");
  Key(L"Obsolete");
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  EXPECT_FALSE(Has(L"CLSID\\{1-2}\\Left over"));
  EXPECT_TRUE(Has(L"Shared\\Left over"));
  EXPECT_FALSE(Has(L"Obsolete"));
  EXPECT_TRUE(HasKey(*machine_, L"Second", RegRoot::CurrentUser));
}

TEST_F(RegistrarTest, UnregisteringRemovesWhatIsItsOwn) {
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  Key(L"CLSID\\{1-2}\\Added later");
  Key(L"Shared\\Somebody else's");
  Key(L"Obsolete");
  EXPECT_EQ(MakeRegistrar().Unregister(kScript), S_OK);
  EXPECT_TRUE(Has(L"CLSID"));
  EXPECT_FALSE(Has(L"CLSID\\{1-2}"));
  EXPECT_TRUE(Has(L"Shared\\Somebody else's"));
  EXPECT_FALSE(Has(L"Shared\\Part"));
  EXPECT_TRUE(Has(L"Obsolete"));  // goes when registering only
  EXPECT_EQ(ValueNames(*Key(L"Kept")), std::vector<std::wstring>{L""});
  EXPECT_EQ(MakeRegistrar().Unregister(kScript), S_OK);
}

TEST_F(RegistrarTest, BrokenScriptChangesNothing) {
  EXPECT_EQ(MakeRegistrar().Register("HKCR { Made { } Broken = "), Registrar::kBadScript);
  EXPECT_FALSE(Has(L"Made"));
  EXPECT_EQ(MakeRegistrar().Unregister("HKCR {"), Registrar::kBadScript);
}

const ScriptReplacements kReplacements = {{L"MODULE", L"C:\\It's here\\a {b}.dll"}};

std::optional<std::vector<ScriptRoot>> Parse(std::wstring_view text) {
  return ParseRegistrationScript(text, kReplacements);
}

// The values of a single key K.
std::vector<ScriptValue> ValuesOf(const std::wstring& content) {
  const auto roots = Parse(L"HKCR { K " + content + L" }");
  return roots ? roots->at(0).content.keys.at(0).values : std::vector<ScriptValue>();
}

TEST(RegistrationScriptTest, KeysNestUnderTheirRoots) {
  const auto roots = Parse(
      L"HKCR { NoRemove CLSID { ForceRemove {1-2} = s 'Name' { Leaf } } Delete Old }\n"
      L"hkey_local_machine\r\n{\tval 'With blank' = d '1' }");
  ASSERT_TRUE(roots);
  ASSERT_EQ(roots->size(), 2U);
  EXPECT_EQ((*roots)[0].root, RegRoot::ClassesRoot);
  EXPECT_EQ((*roots)[1].root, RegRoot::LocalMachine);

  EXPECT_EQ((*roots)[0].content.keys.at(0).keys.at(0).keys.at(0).name, L"Leaf");
  EXPECT_EQ((*roots)[1].content.values.at(0).name, L"With blank");
}

TEST(RegistrationScriptTest, ValuesHaveTheirStoredForm) {
  using Bytes = std::vector<std::uint8_t>;
  EXPECT_EQ(ValuesOf(L"= s 'it''s %%'").at(0).bytes, RegistryTextBytes(L"it's %"));
  EXPECT_EQ(ValuesOf(L"= s ''").at(0).bytes, RegistryTextBytes(L""));
  EXPECT_EQ(ValuesOf(L"= s %MODULE%").at(0).bytes, RegistryTextBytes(L"C:\\It's here\\a {b}.dll"));
  EXPECT_EQ(ValuesOf(L"= d 258").at(0).bytes, (Bytes{2, 1, 0, 0}));
  EXPECT_EQ(ValuesOf(L"= d '&HfF10'").at(0).bytes, (Bytes{0x10, 0xFF, 0, 0}));
  EXPECT_EQ(ValuesOf(L"= d 4294967295").at(0).type, kRegDword);
  EXPECT_EQ(ValuesOf(L"= b '00aFf0'").at(0).bytes, (Bytes{0x00, 0xAF, 0xF0}));
  EXPECT_EQ(ValuesOf(L"= b ''").at(0).type, kRegBinary);
  const auto list = ValuesOf(L"= m 'a\\0b'").at(0);
  EXPECT_EQ(list.type, kRegMultiSz);
  EXPECT_EQ(list.bytes, (Bytes{'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}));
}

TEST(RegistrationScriptTest, BrokenScriptsAreRefused) {
  for (const wchar_t* text :
       {L"HKXX { }", L"HKCR", L"HKCR { K { }", L"HKCR { } }", L"HKCR { K = s 'open }",
        L"HKCR { K = x '1' }", L"HKCR { K = s }", L"HKCR { K = d 4294967296 }",
        L"HKCR { K = d 12a }", L"HKCR { K = b '123' }", L"HKCR { val Name }", L"HKCR { A\\B }",
        L"HKCR { K = s '%UNKNOWN%' }", L"HKCR { ForceRemove { } }"}) {
    EXPECT_FALSE(Parse(text)) << std::string(text, text + std::wcslen(text));
  }
  std::wstring deep = L"HKCR {";
  for (int i = 0; i < 100000; ++i) deep += L" k {";
  EXPECT_FALSE(Parse(deep));
  EXPECT_EQ(Parse(L" \n")->size(), 0U);
}

}  // namespace
}  // namespace orv
