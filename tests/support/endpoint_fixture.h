// Builds simulated machines with audio endpoints and the registry values that belong to them, and
// looks at what ended up there.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "endpoints/endpoint_info.h"
#include "endpoints/endpoint_registry.h"
#include "properties/property_image.h"
#include "properties/property_value.h"
#include "simulated/simulated_machine.h"
#include "support/machine_registry.h"

namespace orv {

inline constexpr wchar_t kSpeakers[] = L"{5D6F1B2A-93C4-4E1D-8A7B-0C1D2E3F4A5B}";
inline constexpr wchar_t kHeadphones[] = L"{C1A0B9E8-7D6C-4B5A-9483-726150FFEEDD}";
inline constexpr wchar_t kMicrophone[] = L"{0F1E2D3C-4B5A-4697-8877-66554433AA21}";

inline std::wstring PropertiesKey(const std::wstring& guid, bool is_render = true) {
  return EndpointKeyPath(is_render, guid, kPropertiesSubkey);
}
inline std::wstring EffectsKey(const std::wstring& guid, bool is_render = true) {
  return EndpointKeyPath(is_render, guid, kEffectPropertiesSubkey);
}
inline std::wstring ApoKey(const std::wstring& guid) { return kDefaultApoKey + (L'\\' + guid); }

// A machine in memory whose endpoints are added one by one.
class EndpointMachine {
 public:
  // `drive_c`: host folder that is drive C:, or none.
  explicit EndpointMachine(MachineDescription description = {}, std::filesystem::path drive_c = {})
      : machine_(SimulatedMachine::InMemory(std::move(description), std::move(drive_c))) {}

  SimulatedMachine& operator*() { return *machine_; }
  SimulatedMachine* operator->() { return machine_.get(); }

  // An active endpoint without registry keys.
  SimulatedEndpoint& AddDevice(const std::wstring& guid, EDataFlow flow = eRender) {
    SimulatedEndpoint endpoint;
    endpoint.id = DeviceId(guid, flow);
    endpoint.flow = flow;
    return machine_->description().endpoints.emplace_back(std::move(endpoint));
  }
  // An active render endpoint that has been named, with an empty effect key.
  SimulatedEndpoint& AddSpeakers(const std::wstring& guid = kSpeakers) {
    SetText(PropertiesKey(guid), kDeviceNameValue, L"Example Audio");
    SetText(PropertiesKey(guid), kEndpointDescriptionValue, L"Speakers");
    CreateKey(EffectsKey(guid));
    return AddDevice(guid);
  }

  static std::wstring DeviceId(const std::wstring& guid, EDataFlow flow = eRender) {
    return (flow == eRender ? L"{0.0.0.00000000}." : L"{0.0.1.00000000}.") + guid;
  }
  ComPtr<IMMDevice> Device(const std::wstring& id) {
    ComPtr<IMMDeviceEnumerator> enumerator;
    ComPtr<IMMDevice> device;
    EXPECT_EQ(machine_->CreateDeviceEnumerator(enumerator.Put()), S_OK);
    if (enumerator) enumerator->GetDevice(id.c_str(), device.Put());
    EXPECT_TRUE(device);
    return device;
  }
  // The record of an endpoint after Attach, whatever that gave.
  ORVAPOEndpointInfo Record(const std::wstring& guid, EDataFlow flow = eRender) {
    ORVAPOEndpointInfo info(*machine_);
    info.Attach(Device(DeviceId(guid, flow)).get(), flow == eRender);
    return info;
  }

  // Keys and values below HKEY_LOCAL_MACHINE; keys are made as needed.
  std::unique_ptr<RegistryKey> CreateKey(const std::wstring& path) {
    return MachineKey(*machine_, path);
  }
  bool HasKey(const std::wstring& path) { return orv::HasKey(*machine_, path); }
  void SetValue(const std::wstring& path, const std::wstring& name, std::uint32_t type,
                const std::vector<std::uint8_t>& bytes) {
    EXPECT_EQ(SetBytes(*CreateKey(path), name, bytes, type), kRegOk);
  }
  void SetText(const std::wstring& path, const std::wstring& name, std::wstring_view text) {
    SetValue(path, name, kRegSz, RegistryTextBytes(text));
  }
  void SetImage(const std::wstring& path, const std::wstring& name, const ORVPropertyList& list) {
    ImageBytes image;
    EXPECT_TRUE(EncodeImage(list, image));
    SetValue(path, name, kRegBinary, image);
  }
  std::optional<std::wstring> Text(const std::wstring& path, const std::wstring& name) {
    const auto bytes = Value(path, name, kRegSz);
    return bytes ? RegistryText(bytes->data(), bytes->size()) : std::nullopt;
  }
  // Entries of a stored image; none when there is no such value.
  ORVPropertyList Image(const std::wstring& path, const std::wstring& name) {
    ORVPropertyList list;
    const ImageBytes image = Value(path, name, kRegBinary).value_or(ImageBytes());
    EXPECT_TRUE(image.empty() || DecodeImage(image, ImageReading::Replace, list).complete);
    return list;
  }
  std::optional<std::vector<std::uint8_t>> Value(const std::wstring& path, const std::wstring& name,
                                                 std::uint32_t wanted_type) {
    std::unique_ptr<RegistryKey> key;
    std::uint32_t type = kRegNone;
    std::vector<std::uint8_t> bytes;
    if (machine_->registry().OpenKey(RegRoot::LocalMachine, path, kQueryAccess, key) != kRegOk ||
        ReadValue(*key, name, type, bytes) != kRegOk || type != wanted_type)
      return std::nullopt;
    return bytes;
  }

 private:
  std::unique_ptr<SimulatedMachine> machine_;
};

}  // namespace orv
