#include "cli/client/change_lock.h"

#include "platform/text.h"
#include "platform/windows/system_calls.h"

namespace orv::cli {
namespace {

struct HeldMutex {
  Handle mutex;
  ~HeldMutex() { ::ReleaseMutex(mutex.get()); }
};

}  // namespace

// A mutex for all sessions of the machine. One whose holder was killed is abandoned, but held.
std::shared_ptr<void> ChangeLock::Acquire(const std::filesystem::path&, const std::string& name,
                                          std::chrono::milliseconds limit, std::string& reason) {
  Handle mutex(::CreateMutexW(nullptr, FALSE, (L"Global\\" + WideFromUtf8(name)).c_str()));
  const DWORD result =
      mutex ? ::WaitForSingleObject(mutex.get(), static_cast<DWORD>(limit.count())) : WAIT_FAILED;
  if (result == WAIT_OBJECT_0 || result == WAIT_ABANDONED) {
    auto held = std::make_shared<HeldMutex>();
    held->mutex = std::move(mutex);
    return held;
  }
  if (result != WAIT_TIMEOUT) reason = SystemErrorText(::GetLastError());
  return nullptr;
}

}  // namespace orv::cli
