// A host that loads the component, uses it and unloads it keeps what it had before: handles, memory
// and threads.
#include "component_file.h"
#include "platform/com_ptr.h"
#include "support/footprint.h"

namespace orv {
namespace {

void LoadUseAndUnload() {
  const LoadedComponent component;
  ComPtr<IClassFactory> factory;
  ComPtr<IORVAPOSystem> system;
  ASSERT_EQ(component.GetClassObject(CLSID_ORVAPOSystem, factory.PutVoid()), S_OK);
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_IORVAPOSystem, system.PutVoid()), S_OK);
  ASSERT_EQ(system->InitializeSystem(nullptr), S_OK);
  factory.Reset();
  system.Reset();
  EXPECT_EQ(component.CanUnloadNow(), S_OK);
}

// The lowest free one: a process has 1,088.
DWORD ThreadStorageIndex() {
  const DWORD index = TlsAlloc();
  TlsFree(index);
  return index;
}

TEST(Unload, LeavesNothingBehind) {
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  LoadUseAndUnload();
  const DWORD index = ThreadStorageIndex();
  constexpr std::size_t kOfTheLoader = 2048;
  ExpectNothingLeftBehind(Rounds(150), LoadUseAndUnload, kOfTheLoader);
  EXPECT_EQ(ThreadStorageIndex(), index);
  EXPECT_EQ(GetModuleHandleW(L"orv_apo_controller.dll"), nullptr);
  CoUninitialize();
}

TEST(Unload, AndLoadStartNoThread) {
  const std::size_t threads = MeasureFootprint().threads;
  for (int i = 0; i < 20; ++i) {
    const LoadedComponent component;
    EXPECT_EQ(MeasureFootprint().threads, threads);
  }
}

}  // namespace
}  // namespace orv
