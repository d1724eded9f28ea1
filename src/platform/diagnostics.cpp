#include "platform/diagnostics.h"

#include <atomic>
#include <mutex>
#include <utility>

#include "platform/debug_output.h"

namespace orv {
namespace {

// Guards the chain of captures and keeps their callbacks apart.
std::mutex capture_lock;
std::atomic<DiagnosticCapture*> innermost{nullptr};
// A callback that reports something itself is not called again for that.
thread_local bool in_callback = false;

}  // namespace

DiagnosticCapture::DiagnosticCapture(Sink sink) : sink_(std::move(sink)) {
  const std::lock_guard guard(capture_lock);
  previous_ = innermost.load(std::memory_order_relaxed);
  innermost.store(this, std::memory_order_release);
}

DiagnosticCapture::~DiagnosticCapture() {
  const std::lock_guard guard(capture_lock);
  DiagnosticCapture* inner = innermost.load(std::memory_order_relaxed);
  if (inner == this) {
    innermost.store(previous_, std::memory_order_release);
    return;
  }
  while (inner->previous_ != this) inner = inner->previous_;
  inner->previous_ = previous_;
}

void DiagnoseFormatted(const DiagnosticSite& site, const wchar_t* format,
                       std::initializer_list<FormatArgument> args) noexcept {
  if (in_callback) return;
  if (innermost.load(std::memory_order_acquire) == nullptr && !DebugOutputWanted()) return;

  wchar_t line[kDiagnosticLineCapacity];
  std::size_t length = FormatWide(line, kDiagnosticLineCapacity, L"%hs(%d) | %hs | ",
                                  {site.file, site.line, site.function});
  length += FormatWide(line + length, kDiagnosticLineCapacity - length, format, args);

  if (innermost.load(std::memory_order_acquire) != nullptr) {
    try {
      const std::lock_guard guard(capture_lock);
      if (DiagnosticCapture* capture = innermost.load(std::memory_order_relaxed)) {
        in_callback = true;
        try {
          capture->sink_({line, length});
        } catch (...) {
          // A listener's failure is not the reporter's.
        }
        in_callback = false;
        return;
      }
    } catch (...) {
      return;
    }
  }
  WriteDebugOutput(line);
}

}  // namespace orv
