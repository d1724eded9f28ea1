#include "cli/client/change_lock.h"

#include "orv_apo/com.h"
#include "platform/text.h"
#include "platform/windows/handle.h"
#include "platform/windows/system_error_text.h"

namespace orv::cli {

struct ChangeLock::State {
  Handle mutex;
};

// A mutex for all sessions of the machine. One whose holder was killed is abandoned, which is held.
ChangeLock::ChangeLock(const std::filesystem::path&, const std::string& registry_path,
                       std::chrono::milliseconds limit)
    : state_(std::make_unique<State>()) {
  const std::wstring name = L"Global\\" + WideFromUtf8(ChangeLockName(registry_path));
  state_->mutex = Handle(::CreateMutexW(nullptr, FALSE, name.c_str()));
  if (!state_->mutex) ChangeLockFailed(registry_path, SystemErrorText(::GetLastError()));
  const DWORD result =
      ::WaitForSingleObject(state_->mutex.get(), static_cast<DWORD>(limit.count()));
  if (result == WAIT_TIMEOUT) ChangeLockTimedOut(registry_path);
  if (result != WAIT_OBJECT_0 && result != WAIT_ABANDONED)
    ChangeLockFailed(registry_path, SystemErrorText(::GetLastError()));
}

ChangeLock::~ChangeLock() { ::ReleaseMutex(state_->mutex.get()); }

}  // namespace orv::cli
