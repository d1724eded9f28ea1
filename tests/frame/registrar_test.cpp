#include "frame/registrar.h"

#include <gtest/gtest.h>

#include "platform/simulated/simulated_machine.h"
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
  })";

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

}  // namespace
}  // namespace orv
