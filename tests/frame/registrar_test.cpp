#include "frame/registrar.h"

#include <gtest/gtest.h>

#include "simulated/simulated_machine.h"
#include "support/machine_registry.h"

namespace orv {
namespace {

constexpr char kScript[] = R"(
  HKCR {
    NoRemove CLSID {
      forceremove {1-2} = s 'Gadget' {
        Server = s '%MODULE%' { val 'Threading model' = s Both  val Empty = s '' }
        ForceRemove Leaf
      }
    }
    NoRemove Kept = s 'stays'
  })";

class RegistrarTest : public ::testing::Test {
 protected:
  Registrar MakeRegistrar() {
    Registrar registrar(machine_->registry(), false);
    registrar.AddReplacement(L"MODULE", L"C:\\It's here\\a {b}.dll");
    return registrar;
  }
  bool Has(const std::wstring& path) { return HasKey(*machine_, path, RegRoot::ClassesRoot); }
  std::unique_ptr<RegistryKey> Key(const std::wstring& path) {
    return MachineKey(*machine_, path, RegRoot::ClassesRoot);
  }

  std::wstring Text(const std::wstring& path, const std::wstring& name) {
    std::uint32_t type = kRegNone;
    std::vector<std::uint8_t> bytes;
    if (ReadValue(*Key(path), name, type, bytes) != kRegOk || type != kRegSz) return L"(no text)";
    return *RegistryText(bytes.data(), bytes.size());
  }

  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory();
};

TEST_F(RegistrarTest, RegisteringStartsForcedKeysAfreshAndUnregisteringRemovesThem) {
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  EXPECT_EQ(Text(L"CLSID\\{1-2}", L""), L"Gadget");
  EXPECT_EQ(Text(L"CLSID\\{1-2}\\Server", L""), L"C:\\It's here\\a {b}.dll");
  EXPECT_EQ(Text(L"CLSID\\{1-2}\\Server", L"Threading model"), L"Both");
  EXPECT_EQ(Text(L"CLSID\\{1-2}\\Server", L"Empty"), L"");
  EXPECT_TRUE(Has(L"CLSID\\{1-2}\\Leaf"));
  EXPECT_EQ(ValueNames(*Key(L"CLSID\\{1-2}\\Leaf")).size(), 0U);

  Key(L"CLSID\\{1-2}\\Left over");
  Key(L"CLSID\\{3-4}");
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  EXPECT_FALSE(Has(L"CLSID\\{1-2}\\Left over"));

  for (int repetition = 0; repetition < 2; ++repetition) {
    EXPECT_EQ(MakeRegistrar().Unregister(kScript), S_OK);
    EXPECT_FALSE(Has(L"CLSID\\{1-2}"));
    EXPECT_TRUE(Has(L"CLSID\\{3-4}"));
    EXPECT_EQ(Text(L"Kept", L""), L"stays");
  }
}

TEST_F(RegistrarTest, BrokenScriptsChangeNothing) {
  std::string deep = "HKCR {";
  for (int i = 0; i < 100000; ++i) deep += " NoRemove k {";
  for (const std::string& script : std::initializer_list<std::string>{
           "HKXX { }", "HKCR", "HKCR { NoRemove K { }", "HKCR { NoRemove Made } }",
           "HKCR { NoRemove K = s 'open }", "HKCR { NoRemove K = x '1' }",
           "HKCR { NoRemove K = s }", "HKCR { NoRemove K { val Name } }", "HKCR { NoRemove A\\B }",
           "HKCR { NoRemove '' }", "HKCR { NoRemove K = s '%UNKNOWN%' }",
           "HKCR { NoRemove K = s 50% }", "HKCR { NoRemove K { Plain } }",
           "HKCR { ForceRemove { } }", deep}) {
    EXPECT_EQ(MakeRegistrar().Register(script), Registrar::kBadScript) << script.substr(0, 100);
    EXPECT_EQ(MakeRegistrar().Unregister(script), Registrar::kBadScript);
  }
  for (const wchar_t* key : {L"K", L"Made", L"k"}) EXPECT_FALSE(Has(key));
  EXPECT_EQ(MakeRegistrar().Register("HKCR\r\n{\r\n}\r\n"), S_OK);
}

}  // namespace
}  // namespace orv
