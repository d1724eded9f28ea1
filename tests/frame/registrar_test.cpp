#include "frame/registrar.h"

#include <gtest/gtest.h>

#include "platform/simulated/simulated_machine.h"

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
    NoRemove Kept = s 'stays' { val Ours = d 1 }
  })";

class RegistrarTest : public ::testing::Test {
 protected:
  Registrar MakeRegistrar(bool per_user = false) {
    Registrar registrar(machine_->registry(), per_user);
    registrar.AddReplacement(L"MODULE", L"C:\\x.dll");
    return registrar;
  }
  bool HasKey(const std::wstring& path, RegRoot root = RegRoot::ClassesRoot) {
    std::unique_ptr<RegistryKey> key;
    return machine_->registry().OpenKey(root, path, kKeyRead, key) == kRegOk;
  }
  void CreateKey(const std::wstring& path) {
    std::unique_ptr<RegistryKey> key;
    ASSERT_EQ(machine_->registry().CreateKey(RegRoot::ClassesRoot, path, kKeyWrite, key, nullptr),
              kRegOk);
  }
  std::wstring Text(const std::wstring& path, const std::wstring& name = {},
                    RegRoot root = RegRoot::ClassesRoot) {
    std::unique_ptr<RegistryKey> key;
    std::uint32_t type = kRegNone;
    std::vector<std::uint8_t> bytes;
    if (machine_->registry().OpenKey(root, path, kKeyRead, key) != kRegOk ||
        ReadValue(*key, name, type, bytes) != kRegOk || type != kRegSz)
      return L"(none)";
    return RegistryText(bytes.data(), bytes.size()).value_or(L"(broken)");
  }

  std::unique_ptr<SimulatedMachine> machine_ = SimulatedMachine::InMemory();
};

TEST_F(RegistrarTest, RegisteringWritesEveryKeyAndValue) {
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  EXPECT_EQ(Text(L"CLSID\\{1-2}"), L"Gadget");
  EXPECT_EQ(Text(L"clsid\\{1-2}\\Server"), L"C:\\x.dll");
  EXPECT_EQ(Text(L"CLSID\\{1-2}\\Server", L"Model"), L"Both");
  EXPECT_EQ(Text(L"Shared"), L"mine");
  EXPECT_TRUE(HasKey(L"Shared\\Part"));
}

TEST_F(RegistrarTest, RegisteringAgainClearsOnlyForcedKeys) {
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  CreateKey(L"CLSID\\{1-2}\\Left over");
  CreateKey(L"Shared\\Left over");
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  EXPECT_FALSE(HasKey(L"CLSID\\{1-2}\\Left over"));
  EXPECT_TRUE(HasKey(L"Shared\\Left over"));
}

TEST_F(RegistrarTest, UnregisteringRemovesWhatIsItsOwn) {
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  CreateKey(L"CLSID\\{1-2}\\Added later");
  EXPECT_EQ(MakeRegistrar().Unregister(kScript), S_OK);
  EXPECT_TRUE(HasKey(L"CLSID"));
  EXPECT_FALSE(HasKey(L"CLSID\\{1-2}"));
  EXPECT_FALSE(HasKey(L"Shared"));
  EXPECT_EQ(Text(L"Kept"), L"stays");
  EXPECT_EQ(Text(L"Kept", L"Ours"), L"(none)");
  EXPECT_EQ(MakeRegistrar().Unregister(kScript), S_OK);
}

TEST_F(RegistrarTest, KeysThatOthersUseStay) {
  EXPECT_EQ(MakeRegistrar().Register(kScript), S_OK);
  CreateKey(L"Shared\\Somebody else's");
  EXPECT_EQ(MakeRegistrar().Unregister(kScript), S_OK);
  EXPECT_TRUE(HasKey(L"Shared\\Somebody else's"));
  EXPECT_FALSE(HasKey(L"Shared\\Part"));
}

TEST_F(RegistrarTest, PerUserClassesGoBelowTheUser) {
  EXPECT_EQ(MakeRegistrar(true).Register(kScript), S_OK);
  EXPECT_EQ(Text(L"Software\\Classes\\CLSID\\{1-2}", {}, RegRoot::CurrentUser), L"Gadget");
  EXPECT_EQ(MakeRegistrar(true).Unregister(kScript), S_OK);
  EXPECT_FALSE(HasKey(L"Software\\Classes\\CLSID\\{1-2}", RegRoot::CurrentUser));

  EXPECT_EQ(MakeRegistrar(true).Register("HKLM { Software { Stays } }"), S_OK);
  EXPECT_TRUE(HasKey(L"Software\\Stays", RegRoot::LocalMachine));
}

TEST_F(RegistrarTest, DeleteTakesAwayAKey) {
  CreateKey(L"Old\\Below");
  EXPECT_EQ(MakeRegistrar().Register("HKCR { Delete Old Delete Missing }"), S_OK);
  EXPECT_FALSE(HasKey(L"Old"));
}

TEST_F(RegistrarTest, BrokenScriptChangesNothing) {
  EXPECT_EQ(MakeRegistrar().Register("HKCR { Made { } Broken = "), Registrar::kBadScript);
  EXPECT_FALSE(HasKey(L"Made"));
  EXPECT_EQ(MakeRegistrar().Unregister("HKCR {"), Registrar::kBadScript);
}

TEST_F(RegistrarTest, RegistryErrorsEndTheScript) {
  machine_->faults().FailNth("registry.set_value", 2, kRegWriteFault);
  EXPECT_EQ(MakeRegistrar().Register(kScript), orv_apo::StatusOfSystemError(kRegWriteFault));
  EXPECT_EQ(Text(L"CLSID\\{1-2}"), L"Gadget");
  EXPECT_FALSE(HasKey(L"Shared"));

  machine_->faults().FailAlways("registry.create_key", kRegAccessDenied);
  EXPECT_EQ(MakeRegistrar().Register(kScript), E_ACCESSDENIED);
  machine_->faults().FailAlways("registry.delete_tree", kRegAccessDenied);
  EXPECT_EQ(MakeRegistrar().Unregister(kScript), E_ACCESSDENIED);
}

}  // namespace
}  // namespace orv
