// clang-format off
#include <windows.h>
#include <tlhelp32.h>
// clang-format on

#include "support/footprint.h"

#include "platform/synchronization.h"

namespace orv {
namespace {

// Seen on Wine 8.0: the count is always 0. There handles are numbered by fours, the lowest free
// number first, so that a new one shows how many are open.
std::size_t Handles() {
  DWORD count = 0;
  if (::GetProcessHandleCount(::GetCurrentProcess(), &count) != 0 && count != 0) return count;
  const Event event(Event::Kind::AutoReset);
  return static_cast<std::size_t>(event.native()) / 4;
}

std::size_t Threads() {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  THREADENTRY32 entry = {};
  entry.dwSize = sizeof entry;
  std::size_t threads = 0;
  for (BOOL more = Thread32First(snapshot, &entry); more; more = Thread32Next(snapshot, &entry))
    threads += entry.th32OwnerProcessID == GetCurrentProcessId();
  CloseHandle(snapshot);
  return threads;
}

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

}  // namespace

Footprint MeasureFootprint() { return {Handles(), Threads(), AllocatedBytes()}; }

}  // namespace orv
