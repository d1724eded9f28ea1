#include "api/process_services.h"

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

// The module that this code was linked into; no reference is taken.
HMODULE OwnModule() noexcept {
  HMODULE module = nullptr;
  GetModuleHandleExW(
      GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
      reinterpret_cast<LPCWSTR>(&OwnModule), &module);
  return module;
}

}  // namespace

std::shared_ptr<Machine> OpenDefaultMachine() { return std::make_shared<WindowsMachine>(); }

HRESULT InSystemLocale(const std::function<HRESULT()>& step) {
  const ThreadLocale locale(LOCALE_SYSTEM_DEFAULT);
  return step();
}

// The scripts are resources of the module, under their own numbers.
std::optional<std::string_view> RegistrationScript(unsigned number) {
  const HMODULE module = OwnModule();
  const HRSRC place = FindResourceW(module, MAKEINTRESOURCEW(number), L"REGISTRY");
  if (place == nullptr) return std::nullopt;
  // Mapped with the module; there is nothing to give back.
  const HGLOBAL loaded = LoadResource(module, place);
  const void* text = loaded != nullptr ? LockResource(loaded) : nullptr;
  if (text == nullptr) return std::nullopt;
  return std::string_view(static_cast<const char*>(text), SizeofResource(module, place));
}

}  // namespace orv
