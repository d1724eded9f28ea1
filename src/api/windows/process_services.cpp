#include "api/process_services.h"

#include "api/windows/own_module.h"
#include "platform/windows/windows_machine.h"

namespace orv {
namespace {

class ThreadLocale {
 public:
  explicit ThreadLocale(LCID locale) noexcept : before_(GetThreadLocale()) {
    SetThreadLocale(locale);
  }
  ~ThreadLocale() { SetThreadLocale(before_); }
  ThreadLocale(const ThreadLocale&) = delete;
  ThreadLocale& operator=(const ThreadLocale&) = delete;

 private:
  LCID before_;
};

}  // namespace

std::shared_ptr<Machine> OpenDefaultMachine() { return std::make_shared<WindowsMachine>(); }

HRESULT InSystemLocale(const std::function<HRESULT()>& step) {
  const ThreadLocale locale(LOCALE_SYSTEM_DEFAULT);
  return step();
}

HMODULE OwnModule() noexcept {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&OwnModule), &module);
  return module;
}

}  // namespace orv
