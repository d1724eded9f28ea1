#include "system.h"

HRESULT CreateSystem(bool single_threaded, IORVAPOSystem** system) {
  const HRESULT status =
      CoInitializeEx(nullptr, single_threaded ? COINIT_APARTMENTTHREADED : COINIT_MULTITHREADED);
  if (FAILED(status)) return status;
  return CoCreateInstance(CLSID_ORVAPOSystem, nullptr, CLSCTX_INPROC_SERVER, IID_PPV_ARGS(system));
}

namespace {

class RegistryWatch final : public KeyWatch {
 public:
  explicit RegistryWatch(HKEY key) : key_(key) {}
  ~RegistryWatch() override {
    RegCloseKey(key_);
    CloseHandle(changed_);
  }

  void Arm() override {
    RegNotifyChangeKeyValue(key_, FALSE, REG_NOTIFY_CHANGE_LAST_SET, changed_, TRUE);
  }
  void Wait() override { WaitForSingleObject(changed_, INFINITE); }

 private:
  const HKEY key_;
  const HANDLE changed_ = CreateEventW(nullptr, FALSE, FALSE, nullptr);
};

}  // namespace

std::unique_ptr<KeyWatch> WatchKey(const wchar_t* key) {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, key, 0, KEY_NOTIFY | KEY_WOW64_64KEY, &opened) != 0)
    return nullptr;
  return std::make_unique<RegistryWatch>(opened);
}
