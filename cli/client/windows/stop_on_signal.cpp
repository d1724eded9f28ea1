#include "cli/client/stop_on_signal.h"

#include <mutex>

#include "orv_apo/com.h"

namespace orv::cli {
namespace {

// Guards the event that a request reaches: each request comes on a thread of its own.
std::mutex g_lock;
Event* g_stop = nullptr;

// The system's own handler, not the C runtime's: that one is gone after the first request.
BOOL WINAPI RequestStop(DWORD request) {
  if (request != CTRL_C_EVENT && request != CTRL_BREAK_EVENT) return FALSE;
  const std::lock_guard guard(g_lock);
  if (g_stop == nullptr) return FALSE;
  g_stop->Set();
  return TRUE;
}

}  // namespace

StopOnSignal::StopOnSignal(Event& stop) {
  const std::lock_guard guard(g_lock);
  g_stop = &stop;
  SetConsoleCtrlHandler(&RequestStop, TRUE);
}

StopOnSignal::~StopOnSignal() {
  SetConsoleCtrlHandler(&RequestStop, FALSE);
  const std::lock_guard guard(g_lock);
  g_stop = nullptr;
}

}  // namespace orv::cli
