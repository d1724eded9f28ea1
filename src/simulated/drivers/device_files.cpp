#include "simulated/drivers/device_files.h"

#include <algorithm>

#include "platform/guid_text.h"
#include "platform/text.h"
#include "simulated/drivers/driver_exchange.h"

namespace orv {
namespace {

using ControlAnswer = std::uint32_t (*)(SimulatedDevices&, std::uint32_t,
                                        std::span<const std::byte>, std::span<std::byte>,
                                        std::uint32_t&);

struct DriverFile {
  GUID interface_class;
  const wchar_t* hardware;
  ControlAnswer answer;
};
constexpr DriverFile kBroadwell = {
    {0x75A73EF4, 0x699E, 0x4E19, {0xAC, 0xAC, 0x86, 0x31, 0xA3, 0x09, 0x5A, 0xD7}},
    L"broadwell",
    AnswerBroadwellControl};
constexpr DriverFile kQualcomm = {
    {0x83BF8857, 0x5742, 0x4B77, {0x98, 0x8D, 0x1B, 0x7E, 0x96, 0x04, 0xE9, 0x8D}},
    L"qualcomm",
    AnswerQualcommControl};

// Interfaces that each driver shows; 0 if the machine does not have it.
std::uint32_t InterfaceCount(const SimulatedDevices& devices, const DriverFile& file) {
  const DriversDescription& drivers = devices.description.drivers;
  if (&file == &kBroadwell) return drivers.broadwell ? drivers.broadwell->interfaces : 0;
  return drivers.qualcomm ? drivers.qualcomm->interfaces : 0;
}

std::vector<std::wstring> Paths(const SimulatedDevices& devices, const DriverFile& file) {
  std::vector<std::wstring> paths;
  const std::uint32_t count = InterfaceCount(devices, file);
  for (std::uint32_t i = 0; i < count; ++i) {
    paths.push_back(std::wstring(L"\\\\?\\root#") + file.hardware + L"#" + std::to_wstring(i) +
                    L"#" + GuidText(file.interface_class));
  }
  return paths;
}

// Sets the error of an operation, 0 if it may go on.
bool IsPlannedToFail(SimulatedDevices& devices, FaultOperation operation, std::uint32_t& error) {
  const auto fault = devices.faults->Check(operation);
  error = fault ? SystemErrorOf(*fault) : 0;
  return fault.has_value();
}

class SimulatedDeviceFile final : public DeviceFile {
 public:
  SimulatedDeviceFile(std::shared_ptr<SimulatedDevices> devices, const DriverFile& file)
      : devices_(std::move(devices)), file_(file), handle_(devices_->drivers->NewHandle()) {}

  std::uint32_t Control(std::uint32_t code, std::span<const std::byte> input,
                        std::span<std::byte> output, std::uint32_t& returned) override {
    std::uint32_t error = 0;
    returned = 0;
    if (IsPlannedToFail(*devices_, "device.control", error)) return error;
    if (InterfaceCount(*devices_, file_) == 0) return kDeviceNotConnected;
    return file_.answer(*devices_, code, input, output, returned);
  }
  std::uintptr_t native() const noexcept override { return static_cast<std::uintptr_t>(handle_); }

 private:
  const std::shared_ptr<SimulatedDevices> devices_;
  const DriverFile& file_;
  const std::uint64_t handle_;
};

class SimulatedEvent final : public NamedEvent {
 public:
  SimulatedEvent(std::shared_ptr<SimulatedDevices> devices, std::string name)
      : devices_(std::move(devices)),
        name_(std::move(name)),
        handle_(devices_->drivers->NewHandle()) {
    devices_->drivers->UseEvents([&](auto& events) { events.open.insert(handle_); });
  }
  ~SimulatedEvent() override {
    devices_->drivers->UseEvents([&](auto& events) { events.open.erase(handle_); });
  }

  void Set() noexcept override {
    try {
      std::string ignored;
      devices_->drivers->Change([&](DriverMemory& memory) { ++memory.signals[name_]; }, ignored);
    } catch (const std::bad_alloc&) {
      // The count misses one; the platform's event has nothing to report either.
    }
  }
  std::uint64_t native() const noexcept override { return handle_; }

 private:
  const std::shared_ptr<SimulatedDevices> devices_;
  const std::string name_;
  const std::uint64_t handle_;
};

}  // namespace

std::vector<std::wstring> SimulatedInterfaces(SimulatedDevices& devices, REFGUID interface_class) {
  if (devices.faults->Check("devices.interfaces")) return {};
  for (const DriverFile* file : {&kBroadwell, &kQualcomm})
    if (IsEqualGUID(file->interface_class, interface_class)) return Paths(devices, *file);
  return {};
}

std::unique_ptr<DeviceFile> OpenSimulatedDevice(const std::shared_ptr<SimulatedDevices>& devices,
                                                const std::wstring& path, std::uint32_t& error) {
  if (IsPlannedToFail(*devices, "device.open", error)) return nullptr;
  const auto same = [&](const std::wstring& other) { return EqualsIgnoringCase(other, path); };
  for (const DriverFile* file : {&kBroadwell, &kQualcomm}) {
    const auto paths = Paths(*devices, *file);
    if (std::ranges::any_of(paths, same))
      return std::make_unique<SimulatedDeviceFile>(devices, *file);
  }
  error = kDeviceFileNotFound;
  return nullptr;
}

std::unique_ptr<NamedEvent> OpenSimulatedEvent(const std::shared_ptr<SimulatedDevices>& devices,
                                               const std::wstring& name, std::uint32_t& error) {
  if (IsPlannedToFail(*devices, "event.open", error)) return nullptr;
  const auto& events = devices->description.events;
  if (std::ranges::find(events, name) != events.end())
    return std::make_unique<SimulatedEvent>(devices, Utf8FromWide(name));
  error = kDeviceFileNotFound;
  return nullptr;
}

}  // namespace orv
