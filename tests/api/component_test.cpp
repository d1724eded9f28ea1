// The component as a client loads it: the shared library and its five exports.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "orv_apo/orv_apo.h"
#include "platform/com_ptr.h"
#include "platform/dynamic_library.h"
#include "support/temporary_folder.h"

namespace orv {
namespace {

class ComponentTest : public ::testing::Test {
 protected:
  ComponentTest() { EXPECT_TRUE(library_.Load(ORV_COMPONENT)); }
  ~ComponentTest() override { unsetenv("ORV_MACHINE"); }

  template <class Function>
  Function Export(const char* name) {
    const auto function = reinterpret_cast<Function>(library_.Find(name));
    EXPECT_NE(function, nullptr) << name;
    return function;
  }
  void UseMachine(const char* registry) {
    std::ofstream(folder_.path() / "registry.reg") << registry;
    std::ofstream(folder_.path() / "machine.json") << "{}";
    setenv("ORV_MACHINE", folder_.path().c_str(), 1);
  }
  HRESULT GetFactory(ComPtr<IClassFactory>& factory) {
    return Export<ORVDllGetClassObject>("DllGetClassObject")(CLSID_ORVAPOSystem, IID_IClassFactory,
                                                             factory.PutVoid());
  }

  TemporaryFolder folder_;
  DynamicLibrary library_;
};

TEST_F(ComponentTest, ExactlyFiveNamesAreExported) {
  const std::string command = std::string("nm -D --defined-only --format=posix ") + ORV_COMPONENT;
  const std::unique_ptr<FILE, int (*)(FILE*)> listing(popen(command.c_str(), "r"), pclose);
  ASSERT_NE(listing, nullptr);
  std::vector<std::string> names;
  char line[512];
  while (std::fgets(line, sizeof line, listing.get()) != nullptr)
    names.push_back(std::string(line, std::string(line).find(' ')));
  EXPECT_EQ(names, (std::vector<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllInstall",
                                             "DllRegisterServer", "DllUnregisterServer"}));
}

TEST_F(ComponentTest, WholeRequestLeavesTheLibraryUnloadable) {
  UseMachine("Windows Registry Editor Version 5.00\n");
  const auto can_unload = Export<ORVDllCanUnloadNow>("DllCanUnloadNow");
  EXPECT_EQ(can_unload(), S_OK);
  {
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(GetFactory(factory), S_OK);
    ComPtr<IORVAPOSystem> system;
    ASSERT_EQ(factory->CreateInstance(nullptr, IID_IORVAPOSystem, system.PutVoid()), S_OK);
    EXPECT_EQ(can_unload(), S_FALSE);
    EXPECT_EQ(system->InitializeSystem(nullptr), S_OK);
    ComPtr<IORVEndpointEnumerator> endpoints;
    ASSERT_EQ(system->EnumerateORVEndpoints(endpoints.Put()), S_OK);
    ComPtr<IORVEndpointInfo> endpoint;
    EXPECT_EQ(endpoints->Next(endpoint.Put()), S_FALSE);
  }
  EXPECT_EQ(can_unload(), S_OK);
}

TEST_F(ComponentTest, MachineThatCannotBeOpenedLeavesTheModuleUninitialised) {
  ComPtr<IClassFactory> factory;
  EXPECT_EQ(GetFactory(factory), E_UNEXPECTED);
  EXPECT_FALSE(factory);
  UseMachine("not an export");
  EXPECT_EQ(GetFactory(factory), E_UNEXPECTED);
  EXPECT_EQ(Export<ORVDllRegisterServer>("DllRegisterServer")(), E_UNEXPECTED);
  EXPECT_EQ(Export<ORVDllInstall>("DllInstall")(TRUE, nullptr), E_UNEXPECTED);
  UseMachine("Windows Registry Editor Version 5.00\n");
  EXPECT_EQ(GetFactory(factory), S_OK);
}

}  // namespace
}  // namespace orv
