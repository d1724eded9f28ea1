// Events, waits and threads: the process services that workers and watches are made of.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>

namespace orv {

// A waitable flag. A manual-reset event stays signalled until Reset; an auto-reset one lets a
// single wait through. Signalling and waiting may happen from any thread, and a registry watch may
// signal it after being armed.
class Event {
 public:
  enum class Kind { ManualReset, AutoReset };

  explicit Event(Kind kind);  // throws std::system_error when the system has no more events
  ~Event();
  Event(const Event&) = delete;
  Event& operator=(const Event&) = delete;

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
  // What was written before Set is seen after the wait, which the system's object alone does not
  // promise to the language.
  std::atomic<std::uint32_t> signals_{0};
};

// Waits until one of the events (at most 8) is signalled and tells which: the first one in the list
// when several are. Nothing when the time is over or the wait itself failed.
std::optional<std::size_t> WaitAny(
    std::span<Event* const> events,
    std::optional<std::chrono::milliseconds> limit = std::nullopt) noexcept;

// One running thread. Destroying it lets the thread run on (detaches it). Wait and Terminate take
// turns when several threads call them, and answer false on the thread itself.
class Thread {
 public:
  // Starts `body`, whose result is the thread's exit code (0xFFFFFFFF when an exception leaves it);
  // null when the system cannot start a thread.
  static std::unique_ptr<Thread> Start(std::function<std::uint32_t()> body);
  ~Thread();
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

  // Waits for the thread's end; true when it has ended (an ended thread answers at once, every
  // time).
  bool Wait(std::chrono::milliseconds limit) noexcept;
  // Ends the thread wherever it is, without running its clean-up: locks it holds stay held, what it
  // owns is neither destroyed nor given back. Waits until it is gone; false when it could not be
  // ended. For a thread that has ended this does nothing and keeps its exit code.
  bool Terminate(std::uint32_t exit_code) noexcept;
  // Exit code of an ended thread.
  std::optional<std::uint32_t> ExitCode() const noexcept;
  std::uint32_t id() const noexcept;  // system-wide thread identifier
  bool IsCurrent() const noexcept;    // true on the thread itself

 private:
  struct State;
  explicit Thread(std::shared_ptr<State> state) noexcept;
  std::shared_ptr<State> state_;
};

}  // namespace orv
