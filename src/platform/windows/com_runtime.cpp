#include "platform/com_runtime.h"

namespace orv {

ComRuntime::ComRuntime() noexcept : status_(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}

ComRuntime::~ComRuntime() {
  if (SUCCEEDED(status_)) ::CoUninitialize();
}

}  // namespace orv
