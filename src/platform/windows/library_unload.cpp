// Returns what the statically linked runtimes would leave in the host process each time it unloads
// the component: the thread library's handles for the unloading thread, and the memory that the C++
// runtime keeps for exceptions when memory is short. Compiled into the component's library only.
#include <windows.h>

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

}  // namespace

// Sorted before the runtimes' own callbacks.
extern "C" __attribute__((section(".CRT$XLB"), used))
const PIMAGE_TLS_CALLBACK orv_clean_up_at_unload = &CleanUpAtUnload;
