// Requests to the drivers of a simulated machine, put together by hand.
#pragma once

#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "intel_dsp/skylake/topology_walk.h"
#include "platform/com_ptr.h"
#include "platform/guid_text.h"
#include "simulated/description/machine_description.h"
#include "simulated/simulated_machine.h"

namespace orv {

using Bytes = std::vector<std::byte>;

// Appends little-endian words.
class Wire {
 public:
  Wire& Word(std::uint32_t word) { return Append(&word, 4); }
  Wire& Short(std::uint32_t word) { return Append(&word, 2); }
  Wire& Byte(std::uint32_t byte) { return Append(&byte, 1); }
  Wire& Handle(std::uint64_t handle) { return Append(&handle, 8); }
  Wire& Guid(const wchar_t* text) {
    const GUID guid = ParseGuid(text).value();
    return Append(&guid, 16);
  }
  Wire& Zeros(std::size_t count) {
    bytes_.resize(bytes_.size() + count);
    return *this;
  }
  Wire& Block(const Bytes& block) { return Append(block.data(), block.size()); }
  operator Bytes() const { return bytes_; }

 private:
  Wire& Append(const void* data, std::size_t size) {
    const auto* begin = static_cast<const std::byte*>(data);
    bytes_.insert(bytes_.end(), begin, begin + size);
    return *this;
  }
  Bytes bytes_;
};

inline void Put(Bytes& bytes, std::size_t offset, std::uint32_t word, std::size_t width = 4) {
  std::memcpy(bytes.data() + offset, &word, width);
}
inline std::uint32_t WordAt(const Bytes& bytes, std::size_t offset) {
  std::uint32_t word = 0;
  if (offset + 4 <= bytes.size()) std::memcpy(&word, bytes.data() + offset, 4);
  return word;
}

inline MachineDescription Describe(const std::string& text) {
  FileError error;
  auto description = ParseMachineFile(text, error);
  EXPECT_TRUE(description) << error.Text();
  return description.value_or(MachineDescription());
}

inline std::string LastRefusal(SimulatedMachine& machine) {
  const auto refusals = machine.RefusedRequests();
  return refusals.empty() ? "" : refusals.back().reason;
}

inline constexpr wchar_t kModuleSet[] = L"{BAE9CE37-AA99-4BC7-9BDF-4CBF3D23E1B9}";
inline constexpr wchar_t kModuleInterface[] = L"{C18E2F7E-933D-4965-B7D1-1EEF228D2AF3}";
inline constexpr wchar_t kModuleId[] = L"{E1284052-8664-4FE4-A353-3878F72704C3}";

inline Wire Header(std::uint32_t property, std::uint32_t flags, std::uint32_t node = 9) {
  return Wire().Guid(kModuleSet).Word(property).Word(flags).Word(node).Word(0);
}
inline Bytes ModuleRequest(std::uint32_t property, std::uint32_t flags, std::uint32_t node = 9) {
  return Header(property, flags, node).Guid(kModuleInterface).Word(1).Guid(kModuleId);
}
inline Bytes LongRequest(std::uint32_t property, std::uint32_t flags, std::uint32_t parameter = 0,
                         std::uint32_t apply = 0) {
  return Wire().Block(ModuleRequest(property, flags)).Word(parameter).Byte(apply);
}

// The wave filter behind an endpoint.
class SkylakeClient {
 public:
  explicit SkylakeClient(Machine& machine) {
    EXPECT_EQ(machine.CreateDeviceEnumerator(devices_.Put()), S_OK);
  }

  HRESULT Walk(const wchar_t* endpoint) {
    ComPtr<IMMDevice> device;
    skylake::WaveFilter filter;
    HRESULT result = devices_->GetDevice(endpoint, device.Put());
    if (result == S_OK) result = skylake::FindWaveFilter(*devices_, *device, filter);
    if (result == S_OK) result = devices_->GetDevice(filter.device_id.c_str(), device.Put());
    return result != S_OK
               ? result
               : device->Activate(IID_IKsControl, CLSCTX_ALL, nullptr, control.PutVoid());
  }

  HRESULT Ask(const Bytes& request, Bytes& data) {
    Bytes property = request;
    ULONG returned = 0xDDDDDDDD;
    const HRESULT result = control->KsProperty(reinterpret_cast<PKSPROPERTY>(property.data()),
                                               static_cast<ULONG>(property.size()), data.data(),
                                               static_cast<ULONG>(data.size()), &returned);
    answered = returned;
    return result;
  }
  HRESULT Send(const Bytes& request, Bytes data = {}) { return Ask(request, data); }
  HRESULT SetBlock(std::uint32_t parameter, const Bytes& block, std::uint32_t apply = 0) {
    return Send(LongRequest(3, 2, parameter, apply),
                Wire().Word(static_cast<std::uint32_t>(block.size())).Block(block));
  }
  // The block; empty when it is refused.
  Bytes GetBlock(std::uint32_t parameter) {
    Bytes data(64004, std::byte{0xDD});
    status = Ask(LongRequest(3, 1, parameter), data);
    if (status < 0) return {};
    EXPECT_EQ(answered, 4 + WordAt(data, 0));
    return {data.begin() + 4, data.begin() + answered};
  }

  ComPtr<IKsControl> control;
  HRESULT status = 0;
  ULONG answered = 0;

 private:
  ComPtr<IMMDeviceEnumerator> devices_;
};

}  // namespace orv
