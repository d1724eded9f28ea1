#include "cli/stop_on_signal.h"

#include <csignal>

namespace orv::cli {
namespace {

// The event that a signal handler can reach.
Event* g_stop = nullptr;

extern "C" void RequestStop(int) {
  if (g_stop != nullptr) g_stop->Set();
}

}  // namespace

StopOnSignal::StopOnSignal(Event& stop) {
  g_stop = &stop;
  interrupt_ = std::signal(SIGINT, RequestStop);
  terminate_ = std::signal(SIGTERM, RequestStop);
}

StopOnSignal::~StopOnSignal() {
  std::signal(SIGINT, interrupt_);
  std::signal(SIGTERM, terminate_);
  g_stop = nullptr;
}

}  // namespace orv::cli
