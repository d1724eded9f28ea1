#include "qc_dsp/driver_interface.h"

#include <algorithm>
#include <new>

#include "records/fields.h"

namespace orv {
namespace {

// Parameter, form factor and payload size; the payload follows, then four zero bytes.
constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kTrailerSize = 4;

}  // namespace

ORVAPOQCDriverInterface::ORVAPOQCDriverInterface(Machine& machine, HRESULT& status)
    : device_(OpenQCDriver(machine)) {
  status = device_ != nullptr ? S_OK : E_FAIL;
}

std::unique_ptr<DeviceFile> ORVAPOQCDriverInterface::OpenQCDriver(Machine& machine) {
  for (const std::wstring& path : machine.DeviceInterfaces(kQualcommInterfaceClass)) {
    std::uint32_t error = 0;
    if (std::unique_ptr<DeviceFile> device = machine.OpenDevice(path, error)) return device;
  }
  return nullptr;
}

HRESULT ORVAPOQCDriverInterface::SendParameter(std::uint32_t parameter, std::uint32_t form_factor,
                                               std::span<const std::byte> payload) {
  if (device_ == nullptr) return E_FAIL;
  const std::size_t size = kHeaderSize + payload.size() + kTrailerSize;
  const std::unique_ptr<std::byte[]> storage(new (std::nothrow) std::byte[size]());
  if (storage == nullptr) return E_OUTOFMEMORY;
  const std::span<std::byte> message(storage.get(), size);
  StoreField(message, 0, FieldType::U32, parameter);
  StoreField(message, 4, FieldType::U32, form_factor);
  StoreField(message, 8, FieldType::U32, static_cast<std::int64_t>(payload.size()));
  std::copy(payload.begin(), payload.end(), message.begin() + kHeaderSize);
  std::uint32_t returned = 0;
  device_->Control(kQualcommControlCode, message, {}, returned);
  return S_OK;
}

}  // namespace orv
