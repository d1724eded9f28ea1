// A host that loads the component, uses it and unloads it keeps what it had before: handles, memory
// and threads.
// clang-format off
#include <windows.h>
#include <tlhelp32.h>
// clang-format on

#include "component_file.h"
#include "platform/com_ptr.h"
#include "platform/windows/handle_level.h"

namespace orv {
namespace {

constexpr int kLoads = 150;

// In every heap: the C runtime has one of its own.
std::size_t AllocatedBytes() {
  HANDLE heaps[32];
  const DWORD count = GetProcessHeaps(32, heaps);
  EXPECT_LE(count, 32U);
  std::size_t bytes = 0;
  for (DWORD i = 0; i < count; ++i) {
    HeapLock(heaps[i]);
    PROCESS_HEAP_ENTRY entry = {};
    while (HeapWalk(heaps[i], &entry))
      if ((entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) != 0) bytes += entry.cbData;
    HeapUnlock(heaps[i]);
  }
  return bytes;
}

int Threads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  int threads = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
    threads += entry.th32OwnerProcessID == GetCurrentProcessId();
  CloseHandle(snapshot);
  return threads;
}

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

TEST(Unload, LeavesNothingBehind) {
  ASSERT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  for (int i = 0; i < 10; ++i) LoadUseAndUnload();
  const std::size_t bytes = AllocatedBytes();
  const int threads = Threads();
  ASSERT_GT(bytes, 0U);
  ASSERT_GT(threads, 0);
  ExpectNoHandleLeftBehind(kLoads, LoadUseAndUnload);
  EXPECT_EQ(GetModuleHandleW(L"orv_apo_controller.dll"), nullptr);
  EXPECT_LT(AllocatedBytes(), bytes + kLoads * std::size_t{2048});
  EXPECT_LT(Threads(), threads + kLoads / 10);  // the system's own may come and go
  CoUninitialize();
}

TEST(Unload, AndLoadStartNoThread) {
  const int threads = Threads();
  for (int i = 0; i < 20; ++i) {
    const LoadedComponent component;
    EXPECT_EQ(Threads(), threads);
  }
}

}  // namespace
}  // namespace orv
