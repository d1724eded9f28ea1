// A simulated machine whose Intel drivers answer by a fuzzer's input.
#pragma once

#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fuzzer.h"
#include "platform/com_ptr.h"
#include "simulated/devices/counted_object.h"
#include "simulated/simulated_machine.h"

namespace orv::fuzz {

// A driver's answer to one request, by the input: the unchanged answer of the simulated driver, or
// one with other bytes, another count and another status.
template <class Status, std::size_t Refusals>
Status Answer(Input& input, Status genuine, Status success, const Status (&refusals)[Refusals],
              std::span<std::byte> output, std::uint32_t& returned) {
  constexpr struct {
    bool genuine;
    bool keeps_count;
    bool succeeds;
  } kKinds[] = {{true, true, true}, {false, true, true}, {false, false, true}, {}};
  const auto& kind = kKinds[input.Byte() % std::size(kKinds)];
  if (kind.genuine) return genuine;
  const auto room = output.subspan(std::min<std::size_t>(input.Byte(), output.size()));
  const auto bytes = std::as_bytes(input.Take(input.Byte()));
  const std::uint32_t count = input.Number(2);
  std::copy_n(bytes.begin(), std::min(bytes.size(), room.size()), room.begin());
  if (!kind.keeps_count) returned = count;
  return kind.succeeds ? success : refusals[count % Refusals];
}

class ScriptedFile final : public DeviceFile {
 public:
  ScriptedFile(std::unique_ptr<DeviceFile> file, Input& input)
      : file_(std::move(file)), input_(input) {}
  std::uint32_t Control(std::uint32_t code, std::span<const std::byte> input,
                        std::span<std::byte> output, std::uint32_t& returned) override {
    constexpr std::uint32_t kRefusals[] = {kDeviceGenFailure};
    const std::uint32_t genuine = file_->Control(code, input, output, returned);
    const std::uint32_t error = Answer(input_, genuine, 0U, kRefusals, output, returned);
    if (error == kDeviceGenFailure) returned = 0;
    return error;
  }
  std::uintptr_t native() const noexcept override { return file_->native(); }

 private:
  std::unique_ptr<DeviceFile> file_;
  Input& input_;
};

class ScriptedControl final : public KsControlBase {
 public:
  ScriptedControl(ComPtr<IKsControl> control, Input& input)
      : control_(std::move(control)), input_(input) {}
  HRESULT STDMETHODCALLTYPE KsProperty(PKSPROPERTY property, ULONG property_size, void* data,
                                       ULONG data_size, ULONG* returned) override {
    const HRESULT status = control_->KsProperty(property, property_size, data, data_size, returned);
    constexpr HRESULT kRefusals[] = {E_FAIL, static_cast<HRESULT>(0x800700EA), 1};
    std::uint32_t count = *returned;
    const std::span output(static_cast<std::byte*>(data), data == nullptr ? 0 : data_size);
    const HRESULT answer = Answer(input_, status, S_OK, kRefusals, output, count);
    *returned = count;
    return answer;
  }

 private:
  ComPtr<IKsControl> control_;
  Input& input_;
};

class ScriptedDevice final : public CountedObject<IMMDevice> {
 public:
  ScriptedDevice(ComPtr<IMMDevice> device, Input& input)
      : device_(std::move(device)), input_(input) {}
  HRESULT STDMETHODCALLTYPE Activate(REFIID iid, DWORD context, PROPVARIANT* parameters,
                                     void** object) override {
    if (!IsEqualIID(iid, IID_IKsControl))
      return device_->Activate(iid, context, parameters, object);
    ComPtr<IKsControl> control;
    const HRESULT status = device_->Activate(iid, context, parameters, control.PutVoid());
    if (SUCCEEDED(status))
      *object = static_cast<IKsControl*>(new ScriptedControl(std::move(control), input_));
    return status;
  }
  HRESULT STDMETHODCALLTYPE OpenPropertyStore(DWORD access, IPropertyStore** store) override {
    return device_->OpenPropertyStore(access, store);
  }
  HRESULT STDMETHODCALLTYPE GetId(LPWSTR* id) override { return device_->GetId(id); }
  HRESULT STDMETHODCALLTYPE GetState(DWORD* state) override { return device_->GetState(state); }

 private:
  ComPtr<IMMDevice> device_;
  Input& input_;
};

class ScriptedDevices final : public DeviceEnumeratorBase {
 public:
  ScriptedDevices(ComPtr<IMMDeviceEnumerator> devices, Input& input)
      : devices_(std::move(devices)), input_(input) {}
  HRESULT STDMETHODCALLTYPE EnumAudioEndpoints(EDataFlow flow, DWORD states,
                                               IMMDeviceCollection** devices) override {
    return devices_->EnumAudioEndpoints(flow, states, devices);
  }
  HRESULT STDMETHODCALLTYPE GetDefaultAudioEndpoint(EDataFlow flow, ERole role,
                                                    IMMDevice** device) override {
    return devices_->GetDefaultAudioEndpoint(flow, role, device);
  }
  HRESULT STDMETHODCALLTYPE GetDevice(LPCWSTR id, IMMDevice** device) override {
    ComPtr<IMMDevice> genuine;
    const HRESULT status = devices_->GetDevice(id, genuine.Put());
    if (SUCCEEDED(status)) *device = new ScriptedDevice(std::move(genuine), input_);
    return status;
  }

 private:
  ComPtr<IMMDeviceEnumerator> devices_;
  Input& input_;
};

// `input` outlives the machine.
class ScriptedMachine final : public Machine {
 public:
  ScriptedMachine(std::unique_ptr<SimulatedMachine> machine, Input& input)
      : machine_(std::move(machine)), input_(input) {}

  Registry& registry() override { return machine_->registry(); }
  HRESULT CreateDeviceEnumerator(IMMDeviceEnumerator** enumerator) override {
    ComPtr<IMMDeviceEnumerator> genuine;
    const HRESULT status = machine_->CreateDeviceEnumerator(genuine.Put());
    if (SUCCEEDED(status)) *enumerator = new ScriptedDevices(std::move(genuine), input_);
    return status;
  }
  std::vector<std::wstring> DeviceInterfaces(REFGUID interface_class) override {
    return machine_->DeviceInterfaces(interface_class);
  }
  std::unique_ptr<DeviceFile> OpenDevice(const std::wstring& path, std::uint32_t& error) override {
    auto file = machine_->OpenDevice(path, error);
    if (file == nullptr) return nullptr;
    return std::make_unique<ScriptedFile>(std::move(file), input_);
  }
  std::unique_ptr<NamedEvent> OpenNamedEvent(const std::wstring& name,
                                             std::uint32_t& error) override {
    return machine_->OpenNamedEvent(name, error);
  }
  // The drivers' clients use no files, folders and versions.
  std::optional<std::wstring> KnownFolder(REFGUID) override { return {}; }
  std::optional<std::wstring> SystemDirectory() override { return {}; }
  bool IsPlatformVersion(std::uint32_t, std::uint32_t) override { return false; }
  bool Is32BitProcess() override { return false; }
  bool FileExists(const std::wstring&) override { return false; }
  std::optional<std::filesystem::path> HostFile(const std::wstring&) override { return {}; }
  std::optional<std::string> HostPath(const std::wstring&) override { return {}; }

 private:
  std::unique_ptr<SimulatedMachine> machine_;
  Input& input_;
};

}  // namespace orv::fuzz
