// Threads over the system's own.
//
// A terminated thread runs no clean-up, and its stack is freed. Its other objects stay as they are,
// the module it ran in included. It is ended in its own body only: before and after it, the thread
// holds locks of the system that the whole process needs.
#include <process.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/synchronization.h"
#include "platform/windows/system_calls.h"

namespace orv {

struct Thread::State {
  explicit State(std::function<std::uint32_t()> thread_body) : body(std::move(thread_body)) {}

  enum class Phase { Running, Leaving, Terminated };

  static unsigned __stdcall Enter(void* argument) noexcept;
  std::uint32_t RunBody() noexcept;
  // Ends the thread's stay in its body for one reason or the other; the first one counts.
  bool Leave(Phase reason) noexcept {
    Phase running = Phase::Running;
    return phase.compare_exchange_strong(running, reason);
  }
  bool HasEnded(DWORD limit) const noexcept {
    return ::WaitForSingleObject(handle.get(), limit) == WAIT_OBJECT_0;
  }

  std::function<std::uint32_t()> body;
  std::shared_ptr<State> self;  // held while the thread runs, for ever when it is terminated
  std::atomic<Phase> phase{Phase::Running};
  Event started{Event::Kind::ManualReset};
  Handle handle;  // closed with the holder, even if the thread runs on
  unsigned id = 0;
};

namespace {

constexpr std::uint32_t kFailedExitCode = 0xFFFFFFFF;
// A thread in a system call may end a little later; no caller waits longer than this.
constexpr DWORD kTerminationLimit = 5000;  // milliseconds

// Keeps the module with this code loaded: a thread must not run in freed memory.
HMODULE HoldOwnModule() noexcept {
  static const char marker = 0;
  HMODULE module = nullptr;
  ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&marker),
                       &module);
  return module;
}

}  // namespace

std::uint32_t Thread::State::RunBody() noexcept {
  std::uint32_t code = kFailedExitCode;
  try {
    code = body();
  } catch (...) {
    // No caller could handle it; the exit code reports it.
  }
  if (!Leave(Phase::Leaving)) ::Sleep(INFINITE);  // the end is under way
  body = nullptr;
  return code;
}

unsigned __stdcall Thread::State::Enter(void* argument) noexcept {
  auto* state = static_cast<State*>(argument);
  const HMODULE module = HoldOwnModule();
  // The compiler's thread library meets this thread for the first time under its own lock.
  std::this_thread::get_id();
  state->started.Set();
  const std::uint32_t code = state->RunBody();
  state->self.reset();
  if (module != nullptr) ::FreeLibraryAndExitThread(module, code);
  return code;
}

std::unique_ptr<Thread> Thread::Start(std::function<std::uint32_t()> body) {
  std::shared_ptr<State> state;
  try {
    state = std::make_shared<State>(std::move(body));
  } catch (const std::system_error&) {
    return nullptr;
  }
  std::unique_ptr<Thread> started(new Thread(state));
  state->self = state;
  // Suspended until its handle and number are in their place.
  state->handle = Handle(reinterpret_cast<HANDLE>(
      ::_beginthreadex(nullptr, 0, &State::Enter, state.get(), CREATE_SUSPENDED, &state->id)));
  if (!state->handle) {
    state->self = nullptr;
    return nullptr;
  }
  ::ResumeThread(state->handle.get());
  // A thread that is ended while the system is still setting it up can take the process with it.
  state->started.Wait();
  return started;
}

Thread::~Thread() { state_->handle = Handle(); }

bool Thread::Wait(std::chrono::milliseconds limit) noexcept {
  if (IsCurrent()) return false;
  return state_->HasEnded(
      static_cast<DWORD>(std::clamp<std::int64_t>(limit.count(), 0, INFINITE - 1)));
}

bool Thread::Terminate(std::uint32_t exit_code) noexcept {
  if (IsCurrent()) return false;
  if (state_->Leave(State::Phase::Terminated)) ::TerminateThread(state_->handle.get(), exit_code);
  return state_->HasEnded(kTerminationLimit);
}

std::optional<std::uint32_t> Thread::ExitCode() const noexcept {
  DWORD code = 0;
  if (!state_->HasEnded(0) || ::GetExitCodeThread(state_->handle.get(), &code) == 0)
    return std::nullopt;
  return code;
}

std::uint32_t Thread::id() const noexcept { return state_->id; }
bool Thread::IsCurrent() const noexcept { return ::GetCurrentThreadId() == state_->id; }

}  // namespace orv
