// Threads over pthreads, and how one is ended from outside.
//
// A thread is terminated by a signal directed at it, whose handler leaves by the raw exit system
// call: no stack is unwound, no destructor of the thread runs. It is not joined, because joining
// would free its stack, which may hold an event that a watch is still going to signal.
//
// The sanitizers expect a regular end of every thread. Built with one, the handler parks the thread
// in the kernel instead, for the rest of the process's life.
#include <pthread.h>
#include <signal.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/deadline.h"
#include "platform/synchronization.h"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORV_PARK_TERMINATED_THREADS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORV_PARK_TERMINATED_THREADS 1
#endif
#endif

namespace orv {

struct Thread::State {
  explicit State(std::function<std::uint32_t()> thread_body) : body(std::move(thread_body)) {}

  static void* Enter(void* argument) noexcept;
  // Waits for the thread's end and frees its resources; true if it has ended.
  bool Join(std::chrono::milliseconds limit) noexcept;
  bool Kill(std::uint32_t exit_code) noexcept;
  bool SignalAndAwaitEnd(int number) const noexcept;
  bool IsGone() const noexcept;
  void Abandon(std::uint32_t exit_code) noexcept;

  std::function<std::uint32_t()> body;
  pthread_t thread{};
  std::shared_ptr<State> self;         // held while the thread runs
  std::atomic<std::uint32_t> id{0};    // 0 until the thread has started
  std::atomic<std::uint64_t> exit{0};  // kEnded and the exit code
  std::mutex lock;                     // for `joined`, and one Wait or Terminate at a time
  bool joined = false;                 // or never to be joined any more
  State* next_abandoned = nullptr;
};

namespace {

constexpr std::uint64_t kEnded = std::uint64_t{1} << 32;
constexpr std::uint32_t kFailedExitCode = 0xFFFFFFFF;
// A thread in an uninterruptible system call does not see the signal; no caller waits longer than
// this.
constexpr std::chrono::seconds kTerminationLimit{5};

thread_local const void* current_thread = nullptr;

std::uint32_t KernelThreadId() noexcept {
  return static_cast<std::uint32_t>(::syscall(SYS_gettid));
}

// The last real-time signal without a handler, chosen when the first thread starts; 0 if all have
// one.
int TerminationSignal() noexcept {
  static const int chosen = [] {
    for (int number = SIGRTMAX; number >= SIGRTMIN; --number) {
      struct sigaction action {};
      if (::sigaction(number, nullptr, &action) == 0 && (action.sa_flags & SA_SIGINFO) == 0 &&
          action.sa_handler == SIG_DFL)
        return number;
    }
    return 0;
  }();
  return chosen;
}

// The signals that the host's own threads handle: all but ours and those that report a fault of the
// thread itself.
sigset_t BlockedSignals() noexcept {
  sigset_t blocked;
  ::sigfillset(&blocked);
  for (const int number : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS, SIGPROF})
    ::sigdelset(&blocked, number);
  if (TerminationSignal() != 0) ::sigdelset(&blocked, TerminationSignal());
  return blocked;
}

// One termination at a time: the thread to be ended.
std::mutex termination_lock;
std::atomic<std::uint32_t> victim{0};
std::atomic<bool> parked{false};

void OnTerminationSignal(int, siginfo_t* info, void*) noexcept {
  if (info->si_pid != ::getpid() || victim.load() != KernelThreadId()) return;
#ifdef ORV_PARK_TERMINATED_THREADS
  parked.store(true);
  for (;;) ::syscall(SYS_ppoll, nullptr, 0, nullptr, nullptr, 0);
#else
  ::syscall(SYS_exit, 0);
#endif
}

// The objects of terminated threads stay as they are. They are kept reachable, so that they do not
// count as leaks.
std::atomic<void*> abandoned{nullptr};

template <class Clock>
timespec After(std::chrono::milliseconds limit) noexcept {
  const auto end = (Clock::now() + LimitOfWait(limit)).time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(end);
  return {seconds.count(), std::chrono::nanoseconds(end - seconds).count()};
}

bool JoinWithin(pthread_t thread, std::chrono::milliseconds limit) noexcept {
#ifdef ORV_PARK_TERMINATED_THREADS
  // The thread sanitizer knows only this form.
  const timespec until = After<std::chrono::system_clock>(limit);
  return ::pthread_timedjoin_np(thread, nullptr, &until) == 0;
#else
  const timespec until = After<std::chrono::steady_clock>(limit);
  return ::pthread_clockjoin_np(thread, nullptr, CLOCK_MONOTONIC, &until) == 0;
#endif
}

}  // namespace

void* Thread::State::Enter(void* argument) noexcept {
  auto* state = static_cast<State*>(argument);
  current_thread = state;
  state->id.store(KernelThreadId());
  state->id.notify_all();

  std::uint32_t code = kFailedExitCode;
  try {
    code = state->body();
  } catch (...) {
    // No caller could handle it; the exit code reports it.
  }
  state->body = nullptr;
  state->exit.store(kEnded | code);
  const std::shared_ptr<State> last = std::move(state->self);
  return nullptr;
}

bool Thread::State::Join(std::chrono::milliseconds limit) noexcept {
  if (!joined) joined = JoinWithin(thread, limit);
  return joined;
}

bool Thread::State::IsGone() const noexcept {
  return parked.load() || ::syscall(SYS_tgkill, ::getpid(), id.load(), 0) != 0;
}

bool Thread::State::SignalAndAwaitEnd(int number) const noexcept {
  if (::pthread_kill(thread, number) != 0) return false;
  const auto deadline = std::chrono::steady_clock::now() + kTerminationLimit;
  while (!IsGone()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::microseconds(200));
  }
  return true;
}

// Leaves all objects of the thread as they are.
void Thread::State::Abandon(std::uint32_t exit_code) noexcept {
#ifdef ORV_PARK_TERMINATED_THREADS
  ::pthread_detach(thread);
#endif
  joined = true;
  std::uint64_t running = 0;
  exit.compare_exchange_strong(running, kEnded | exit_code);
  void* previous = abandoned.load();
  do {
    next_abandoned = static_cast<State*>(previous);
  } while (!abandoned.compare_exchange_weak(previous, this));
}

bool Thread::State::Kill(std::uint32_t exit_code) noexcept {
  const int number = TerminationSignal();
  if (number == 0) return false;
  const std::lock_guard guard(termination_lock);

  struct sigaction action {};
  struct sigaction before {};
  action.sa_sigaction = OnTerminationSignal;
  action.sa_flags = SA_SIGINFO | SA_RESTART;
  ::sigfillset(&action.sa_mask);
  if (::sigaction(number, &action, &before) != 0) return false;

  parked.store(false);
  victim.store(id.load());
  // If the thread has not ended, the signal is still pending. It must find the handler when it
  // arrives, or it would end the process.
  if (!SignalAndAwaitEnd(number)) return false;
  ::sigaction(number, &before, nullptr);
  victim.store(0);
  // It may have ended by itself just before.
  const bool has_ended = exit.load() != 0 && !parked.load();
  if (has_ended) return Join(kTerminationLimit);
  Abandon(exit_code);
  return true;
}

std::unique_ptr<Thread> Thread::Start(std::function<std::uint32_t()> body) {
  auto state = std::make_shared<State>(std::move(body));
  std::unique_ptr<Thread> started(new Thread(state));
  state->self = state;

  const sigset_t blocked = BlockedSignals();
  sigset_t own;
  ::pthread_sigmask(SIG_SETMASK, &blocked, &own);
  const int result = ::pthread_create(&state->thread, nullptr, &State::Enter, state.get());
  ::pthread_sigmask(SIG_SETMASK, &own, nullptr);
  if (result != 0) {
    state->self = nullptr;
    state->joined = true;
    return nullptr;
  }
  // From here on the thread can be terminated at any moment.
  state->id.wait(0);
  return started;
}

Thread::~Thread() {
  if (!state_->joined) ::pthread_detach(state_->thread);
}

bool Thread::Wait(std::chrono::milliseconds limit) noexcept {
  if (IsCurrent()) return false;
  const std::lock_guard guard(state_->lock);
  return state_->Join(limit);
}

bool Thread::Terminate(std::uint32_t exit_code) noexcept {
  if (IsCurrent()) return false;
  const std::lock_guard guard(state_->lock);
  return state_->Join(std::chrono::milliseconds(0)) || state_->Kill(exit_code);
}

std::optional<std::uint32_t> Thread::ExitCode() const noexcept {
  const std::uint64_t exit = state_->exit.load();
  if (exit == 0) return std::nullopt;
  return static_cast<std::uint32_t>(exit);
}

std::uint32_t Thread::id() const noexcept { return state_->id.load(); }
bool Thread::IsCurrent() const noexcept { return current_thread == state_.get(); }

}  // namespace orv
