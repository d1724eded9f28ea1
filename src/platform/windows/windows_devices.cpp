// Device interfaces, device files and named events of the machine this process runs on.
#include <windows.h>
// windows.h first: the header below depends on it.
#include <setupapi.h>

#include <cstring>
#include <utility>

#include "platform/windows/system_calls.h"
#include "platform/windows/windows_machine.h"

namespace orv {
namespace {

class DeviceList {
 public:
  explicit DeviceList(REFGUID interface_class)
      : list_(::SetupDiGetClassDevsW(&interface_class, nullptr, nullptr,
                                     DIGCF_PRESENT | DIGCF_DEVICEINTERFACE)) {}
  ~DeviceList() {
    if (list_ != INVALID_HANDLE_VALUE) ::SetupDiDestroyDeviceInfoList(list_);
  }
  DeviceList(const DeviceList&) = delete;
  DeviceList& operator=(const DeviceList&) = delete;
  HDEVINFO get() const noexcept { return list_; }

 private:
  HDEVINFO list_;
};

// Empty if the interface has been removed in between.
std::wstring InterfacePath(HDEVINFO list, SP_DEVICE_INTERFACE_DATA& data) {
  DWORD size = 0;
  ::SetupDiGetDeviceInterfaceDetailW(list, &data, nullptr, 0, &size, nullptr);
  constexpr std::size_t kPathOffset = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);
  if (size <= kPathOffset) return {};
  std::vector<std::uint64_t> memory((size + 7) / 8);
  auto* detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W*>(memory.data());
  detail->cbSize = sizeof *detail;
  if (::SetupDiGetDeviceInterfaceDetailW(list, &data, detail, size, nullptr, nullptr) == 0)
    return {};
  return detail->DevicePath;
}

class WindowsDeviceFile final : public DeviceFile {
 public:
  explicit WindowsDeviceFile(Handle device) noexcept : device_(std::move(device)) {}

  std::uint32_t Control(std::uint32_t code, std::span<const std::byte> input,
                        std::span<std::byte> output, std::uint32_t& returned) override {
    DWORD size = 0;
    // The system does not write to the input, although its type would allow it.
    const BOOL done = ::DeviceIoControl(device_.get(), code, const_cast<std::byte*>(input.data()),
                                        static_cast<DWORD>(input.size()), output.data(),
                                        static_cast<DWORD>(output.size()), &size, nullptr);
    returned = done != 0 ? size : 0;
    return done != 0 ? 0 : ::GetLastError();
  }
  std::uintptr_t native() const noexcept override {
    return reinterpret_cast<std::uintptr_t>(device_.get());
  }

 private:
  Handle device_;
};

class WindowsNamedEvent final : public NamedEvent {
 public:
  explicit WindowsNamedEvent(Handle event) noexcept : event_(std::move(event)) {}

  void Set() noexcept override { ::SetEvent(event_.get()); }
  std::uint64_t native() const noexcept override {
    return reinterpret_cast<std::uintptr_t>(event_.get());
  }

 private:
  Handle event_;
};

}  // namespace

std::vector<std::wstring> WindowsMachine::DeviceInterfaces(REFGUID interface_class) {
  const DeviceList list(interface_class);
  std::vector<std::wstring> paths;
  SP_DEVICE_INTERFACE_DATA data{};
  data.cbSize = sizeof data;
  for (DWORD i = 0;
       ::SetupDiEnumDeviceInterfaces(list.get(), nullptr, &interface_class, i, &data) != 0; ++i) {
    std::wstring path = InterfacePath(list.get(), data);
    if (!path.empty()) paths.push_back(std::move(path));
  }
  return paths;
}

std::unique_ptr<DeviceFile> WindowsMachine::OpenDevice(const std::wstring& path,
                                                       std::uint32_t& error) {
  Handle device(::CreateFileW(path.c_str(), GENERIC_READ | GENERIC_WRITE,
                              FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  error = device ? 0 : ::GetLastError();
  if (!device) return nullptr;
  return std::make_unique<WindowsDeviceFile>(std::move(device));
}

std::unique_ptr<NamedEvent> WindowsMachine::OpenNamedEvent(const std::wstring& name,
                                                           std::uint32_t& error) {
  Handle event(::OpenEventW(EVENT_ALL_ACCESS, FALSE, name.c_str()));
  error = event ? 0 : ::GetLastError();
  if (!event) return nullptr;
  return std::make_unique<WindowsNamedEvent>(std::move(event));
}

}  // namespace orv
