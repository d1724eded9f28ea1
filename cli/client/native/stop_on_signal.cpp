#include "cli/client/stop_on_signal.h"

#include <atomic>
#include <csignal>
#include <thread>

namespace orv::cli {
namespace {

// The event that a signal handler can reach, and how many are about to: a signal may come on any
// thread.
std::atomic<Event*> g_stop = nullptr;
std::atomic<int> g_handlers = 0;
static_assert(std::atomic<Event*>::is_always_lock_free && std::atomic<int>::is_always_lock_free);

void (*g_interrupt)(int) = SIG_DFL;
void (*g_terminate)(int) = SIG_DFL;

extern "C" void RequestStop(int) {
  ++g_handlers;
  if (Event* const stop = g_stop) stop->Set();
  --g_handlers;
}

}  // namespace

StopOnSignal::StopOnSignal(Event& stop) {
  g_stop = &stop;
  g_interrupt = std::signal(SIGINT, RequestStop);
  g_terminate = std::signal(SIGTERM, RequestStop);
}

StopOnSignal::~StopOnSignal() {
  std::signal(SIGINT, g_interrupt);
  std::signal(SIGTERM, g_terminate);
  g_stop = nullptr;
  while (g_handlers != 0) std::this_thread::yield();
}

}  // namespace orv::cli
