// Returns what the statically linked runtimes would leave in the host process each time it unloads
// the component: the thread library's handles for the unloading thread and its index of thread
// storage, and the memory that the C++ runtime keeps for exceptions when memory is short. Compiled
// into the component's library only.
#include <windows.h>

#include <algorithm>
#include <iterator>

// The C runtime's, and the list of this library's callbacks with it.
extern "C" const IMAGE_TLS_DIRECTORY _tls_used;  // NOLINT(bugprone-reserved-identifier)

namespace __gnu_cxx {  // NOLINT(bugprone-reserved-identifier)
void __freeres();      // NOLINT(bugprone-reserved-identifier)
}

namespace {

// The runtimes clean up after a thread when it ends, but never after the one that unloads them:
// calls them as at its end. Not needed when the process ends.
void NTAPI CleanUpAtUnload(void* library, DWORD reason, void* process_ends) {
  if (reason != DLL_PROCESS_DETACH || process_ends != nullptr) return;
  const auto* callback = reinterpret_cast<const PIMAGE_TLS_CALLBACK*>(_tls_used.AddressOfCallBacks);
  for (; *callback != nullptr; ++callback)
    if (*callback != &CleanUpAtUnload) (*callback)(library, DLL_THREAD_DETACH, nullptr);
  __gnu_cxx::__freeres();
}

// A process has 1,088 indices of thread storage; the thread library ends it when none is left.
DWORD taken_indices[16];
LONG taken_count = 0;

DWORD WINAPI TakeIndex() {
  using Alloc = DWORD(WINAPI*)();
  const auto alloc = reinterpret_cast<Alloc>(
      reinterpret_cast<void*>(::GetProcAddress(::GetModuleHandleW(L"kernel32.dll"), "TlsAlloc")));
  const DWORD index = alloc();
  if (index == TLS_OUT_OF_INDEXES) return index;
  const LONG place = ::InterlockedIncrement(&taken_count) - 1;
  if (place < static_cast<LONG>(std::size(taken_indices))) taken_indices[place] = index;
  return index;
}

// After every other destructor of the library.
__attribute__((destructor(101))) void GiveIndicesBack() {
  for (LONG i = 0; i < std::min<LONG>(taken_count, std::size(taken_indices)); ++i)
    ::TlsFree(taken_indices[i]);
}

}  // namespace

// What the runtimes in this library call in the place of the system's TlsAlloc.
extern "C" {
DWORD(WINAPI* __imp_TlsAlloc)() = &TakeIndex;  // NOLINT(bugprone-reserved-identifier)
}

// Sorted before the runtimes' own callbacks.
extern "C" __attribute__((section(".CRT$XLB"), used))
const PIMAGE_TLS_CALLBACK orv_clean_up_at_unload = &CleanUpAtUnload;
