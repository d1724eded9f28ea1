// The component as a client loads it: the shared library and its five exports.
#include <malloc.h>

#include <cstdlib>

#include "api_fixture.h"
#include "platform/dynamic_library.h"

namespace orv {
namespace {

class ComponentTest : public ::testing::Test {
 protected:
  ComponentTest() { EXPECT_TRUE(library_.Load(ORV_COMPONENT)); }
  ~ComponentTest() override { unsetenv("ORV_MACHINE"); }

  // The modes of the machine's first endpoint; every object is released again.
  std::vector<std::wstring> Modes() {
    ComPtr<IClassFactory> factory;
    ComPtr<IORVAPOSystem> system;
    EXPECT_EQ(GetFactory(factory), S_OK);
    EXPECT_EQ(factory->CreateInstance(nullptr, IID_IORVAPOSystem, system.PutVoid()), S_OK);
    EXPECT_EQ(system->InitializeSystem(nullptr), S_OK);
    const auto endpoints = From(system, &IORVAPOSystem::EnumerateORVEndpoints);
    const auto endpoint = From(endpoints, &IORVEndpointEnumerator::Next);
    const auto modes = From(endpoint, &IORVEndpointInfo::GetOpModeEnumerator);
    std::vector<std::wstring> names;
    ComPtr<IORVOperatingMode> mode;
    while (modes->Next(mode.Put()) == S_OK) names.push_back(NameOf(*mode));
    return names;
  }
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

// The host keeps the library although it may unload it, as the platform does for some minutes.
TEST_F(ComponentTest, ConfigurationIsReadOnceHoweverOftenTheHostMayUnload) {
  const std::filesystem::path sample = ORV_SAMPLE_MACHINE;
  std::filesystem::copy(sample, folder_.path(), std::filesystem::copy_options::recursive);
  setenv("ORV_MACHINE", folder_.path().c_str(), 1);
  const auto can_unload = Export<ORVDllCanUnloadNow>("DllCanUnloadNow");
  const auto modes = Modes();
  EXPECT_FALSE(modes.empty());
  ASSERT_EQ(can_unload(), S_OK);
  std::ofstream(folder_.path() / "drive_c/Program Files/ORV Labs/APO/orv_apo_config.xml")
      << "<orv_configuration/>";
  constexpr int kRounds = 40;
  const std::size_t allocated = mallinfo2().uordblks;
  for (int round = 0; round < kRounds; ++round) {
    EXPECT_EQ(Modes(), modes);
    ASSERT_EQ(can_unload(), S_OK);
  }
  EXPECT_LT(mallinfo2().uordblks, allocated + kRounds * std::size_t{1024});
}

TEST_F(ComponentTest, MachineThatCannotBeOpenedLeavesTheModuleUninitialised) {
  void* object = this;
  EXPECT_EQ(Export<ORVDllGetClassObject>("DllGetClassObject")(CLSID_ORVAPOSystem, IID_IClassFactory,
                                                              &object),
            E_UNEXPECTED);
  EXPECT_EQ(object, nullptr);
  ComPtr<IClassFactory> factory;
  UseMachine("not an export");
  EXPECT_EQ(GetFactory(factory), E_UNEXPECTED);
  EXPECT_EQ(Export<ORVDllRegisterServer>("DllRegisterServer")(), E_UNEXPECTED);
  EXPECT_EQ(Export<ORVDllInstall>("DllInstall")(TRUE, nullptr), E_UNEXPECTED);
  UseMachine("Windows Registry Editor Version 5.00\n");
  EXPECT_EQ(GetFactory(factory), S_OK);
}

}  // namespace
}  // namespace orv
