// Events, waits and threads: the process services that workers and watches are made of.
#pragma once

#include <atomic>
#include <boost/core/noncopyable.hpp>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <utility>

namespace orv {

// A waitable flag. A manual-reset event stays signalled until Reset; an auto-reset one lets a
// single wait through. Signalling and waiting may happen from any thread, and a registry watch may
// signal it after being armed.
class Event : boost::noncopyable {
 public:
  enum class Kind { ManualReset, AutoReset };

  explicit Event(Kind kind);  // throws std::system_error if the system has no more events
  ~Event();

  void Set() noexcept;
  void Reset() noexcept;
  // Waits up to the given time (forever without one); true when signalled.
  bool Wait(std::optional<std::chrono::milliseconds> limit = std::nullopt) noexcept;

  // The system's own object: a HANDLE on Windows, a file descriptor elsewhere.
  std::intptr_t native() const noexcept { return native_; }

 private:
  friend std::optional<std::size_t> WaitAny(std::span<Event* const>,
                                            std::optional<std::chrono::milliseconds>) noexcept;
  Kind kind_;
  std::intptr_t native_;
  // Makes what was written before Set visible after the wait: the language does not know of the
  // system's object.
  std::atomic<std::uint32_t> signals_{0};
};

inline constexpr std::size_t kMostEvents = 8;

// Waits until one of at most kMostEvents events is signalled and returns its position, the first
// one if several are. Returns nullopt if the time is over or the wait itself fails.
std::optional<std::size_t> WaitAny(
    std::span<Event* const> events,
    std::optional<std::chrono::milliseconds> limit = std::nullopt) noexcept;

inline bool Event::Wait(std::optional<std::chrono::milliseconds> limit) noexcept {
  Event* const only[] = {this};
  return WaitAny(only, limit).has_value();
}

// A mutex that its holder may take again. Seen with MinGW 10: the library's own allocates memory on
// first use and never frees it.
class RecursiveMutex {
 public:
  void lock() {
    if (!IsMine()) mutex_.lock();
    Enter();
  }
  bool try_lock() {
    if (!IsMine() && !mutex_.try_lock()) return false;
    Enter();
    return true;
  }
  void unlock() noexcept {
    if (--depth_ != 0) return;
    holder_.store({}, std::memory_order_relaxed);
    mutex_.unlock();
  }

 private:
  // Only the holder itself finds its own identifier.
  bool IsMine() const noexcept {
    return holder_.load(std::memory_order_relaxed) == std::this_thread::get_id();
  }
  void Enter() noexcept {
    if (++depth_ == 1) holder_.store(std::this_thread::get_id(), std::memory_order_relaxed);
  }

  std::mutex mutex_;
  std::atomic<std::thread::id> holder_{};
  unsigned depth_ = 0;  // the holder's
};

// One running thread. Destroying this object detaches the thread. Wait and Terminate take turns
// when several threads call them, and return false on the thread itself.
class Thread : boost::noncopyable {
 public:
  // Starts `body`, whose result is the thread's exit code (0xFFFFFFFF if it ends with an
  // exception); null if the system cannot start a thread.
  static std::unique_ptr<Thread> Start(std::function<std::uint32_t()> body);
  ~Thread();

  // Waits for the thread's end; true if it has ended, at once and every time for an ended thread.
  bool Wait(std::chrono::milliseconds limit) noexcept;
  // Ends the thread wherever it is, without running its clean-up: locks it holds stay held, its
  // objects are neither destroyed nor freed. Waits for the end; false if the thread cannot be
  // ended. Does nothing to a thread that has ended, which keeps its exit code.
  bool Terminate(std::uint32_t exit_code) noexcept;
  // Exit code of an ended thread.
  std::optional<std::uint32_t> ExitCode() const noexcept;
  std::uint32_t id() const noexcept;  // system-wide thread identifier

 private:
  struct State;
  explicit Thread(std::shared_ptr<State> state) noexcept : state_(std::move(state)) {}
  bool IsCurrent() const noexcept;
  std::shared_ptr<State> state_;
};

// A thread of an object that it must not outlive: destroyed first, as the object's last member, it
// signals `stop` and waits for the thread's end.
class OwnedThread : boost::noncopyable {
 public:
  OwnedThread() = default;
  ~OwnedThread() {
    stop.Set();
    while (thread_ && !thread_->Wait(std::chrono::minutes(1))) {
    }
  }

  // At most once. `body` returns when `stop` is signalled; false if the system has no thread left.
  bool Start(std::function<void()> body) {
    thread_ = Thread::Start([body = std::move(body)] { return body(), 0U; });
    return thread_ != nullptr;
  }

  Event stop{Event::Kind::ManualReset};

 private:
  std::unique_ptr<Thread> thread_;
};

}  // namespace orv
