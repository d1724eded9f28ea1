#include "intel_dsp/skylake/driver_client.h"

#include <algorithm>
#include <boost/algorithm/hex.hpp>
#include <iterator>
#include <utility>
#include <vector>

#include "platform/com_memory.h"
#include "platform/com_runtime.h"
#include "platform/diagnostics.h"
#include "platform/guid_text.h"
#include "platform/text.h"

namespace orv::skylake {
namespace {

constexpr char kActivate[] = "KELAPOIntelDriverInterface_SKL::ActivateIKsControls";
// The thread is in the other kind of apartment: the runtime is initialised, and stays so.
constexpr HRESULT kOtherApartment = static_cast<HRESULT>(0x80010106);
constexpr HRESULT kMoreData = orv_apo::StatusOfSystemError(kDeviceMoreData);
constexpr ULONG kLargestModuleList = 1 << 20;
// Two digits a byte; more than a line holds is not written out.
constexpr std::size_t kMostDumpedBytes = kDiagnosticLineCapacity / 2;

alignas(8) BlockBuffer block_buffer;

const wchar_t* TypeName(std::uint32_t type) {
  constexpr const wchar_t* kNames[] = {L"SFX", L"MFX", L"EFX"};
  return type < std::size(kNames) ? kNames[type] : L"Unknown module type";
}

std::uintptr_t AddressOf(const void* buffer) { return reinterpret_cast<std::uintptr_t>(buffer); }

}  // namespace

void DumpBuffer(std::span<const std::byte> bytes) {
  const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.data());
  std::wstring digits;
  boost::algorithm::hex_lower(first, first + std::min(bytes.size(), kMostDumpedBytes),
                              std::back_inserter(digits));
  Diagnose(ORV_HERE("KELAPOIntelDriverInterface_SKL::DumpBuffer"), L"\n(%d bytes): [%s]\n",
           bytes.size(), digits);
}

KELAPOIntelDriverInterface_SKL::KELAPOIntelDriverInterface_SKL(std::shared_ptr<Machine> machine,
                                                               std::shared_ptr<NamedEvent> event)
    : machine_(std::move(machine)), event_(std::move(event)) {}

KELAPOIntelDriverInterface_SKL::~KELAPOIntelDriverInterface_SKL() { UnregisterEvent(); }

HRESULT KELAPOIntelDriverInterface_SKL::ActivateIKsControls(const std::wstring& device_id) {
  const DiagnosticSite here = ORV_HERE(kActivate);
  const ComRuntime runtime;
  HRESULT status = runtime.status() == kOtherApartment ? S_OK : runtime.status();
  ComPtr<IMMDeviceEnumerator> devices;
  if (SUCCEEDED(status)) status = machine_->CreateDeviceEnumerator(devices.Put());
  if (FAILED(status)) {
    Diagnose(here, L"Failed to initialize COM device interface!");
    return status;
  }
  ComPtr<IKsControl> control;
  status = FindWaveFilter(*devices, device_id);
  if (SUCCEEDED(status)) status = ActivateControl(*devices, control);
  if (SUCCEEDED(status)) status = CheckVersion(*control);
  if (SUCCEEDED(status)) status = FindModule(*control);
  if (FAILED(status)) return status;
  control_ = std::move(control);
  if (event_ == nullptr)
    Diagnose(here, L"Warning: Event handle not opened.  Skipping event register.\n");
  else if (FAILED(RegisterModuleEvent()))
    Diagnose(here, L"Error: RegisterModuleEvent() failed! \n");
  return S_OK;
}

HRESULT KELAPOIntelDriverInterface_SKL::FindWaveFilter(IMMDeviceEnumerator& devices,
                                                       const std::wstring& device_id) {
  const DiagnosticSite here = ORV_HERE(kActivate);
  std::wstring wanted = device_id;
  if (wanted.empty()) {
    ComPtr<IMMDevice> device;
    if (SUCCEEDED(devices.GetDefaultAudioEndpoint(eRender, eMultimedia, device.Put())))
      wanted = DeviceIdentifier(*device);
  }
  ComPtr<IMMDeviceCollection> endpoints;
  HRESULT status =
      Report(here, L"EnumAudioEndpoints failed!",
             devices.EnumAudioEndpoints(eRender, DEVICE_STATE_ACTIVE, endpoints.Put()));
  if (FAILED(status)) return status;
  UINT count = 0;
  status = Report(here, L"GetCount for devices list failed!", endpoints->GetCount(&count));
  if (FAILED(status)) return status;
  Diagnose(here, L"Devices count: %d", count);
  for (UINT i = 0; i < count; ++i) {
    ComPtr<IMMDevice> endpoint;
    std::wstring id;
    if (FAILED(endpoints->Item(i, endpoint.Put())) ||
        FAILED(ReadTaskText(*endpoint, &IMMDevice::GetId, id))) {
      Diagnose(here, L"Failed to get device id!");
      continue;
    }
    if (!wanted.empty()) {
      Diagnose(here, L"Matching device id: %s against: %s", id, wanted);
      if (!EqualsIgnoringCase(wanted, id)) {
        Diagnose(here, L"Device id not match, skipping device");
        continue;
      }
      Diagnose(here, L"Matching device id found.");
    }
    status = skylake::FindWaveFilter(devices, *endpoint, filter_);
    if (status == S_OK) return S_OK;
    Diagnose(here,
             SUCCEEDED(status) ? L"Device does not match." : L"Failed to find connector part!");
  }
  Diagnose(here, L"Software IO connector not found!");
  return E_FAIL;
}

HRESULT KELAPOIntelDriverInterface_SKL::ActivateControl(IMMDeviceEnumerator& devices,
                                                        ComPtr<IKsControl>& control) const {
  const DiagnosticSite here = ORV_HERE(kActivate);
  ComPtr<IMMDevice> device;
  const HRESULT status = Report(here, L"Failed to retrieve wave filer device! 0x%x",
                                devices.GetDevice(filter_.device_id.c_str(), device.Put()));
  if (FAILED(status)) return status;
  return Report(here, L"Activate ks control failed! 0x%x",
                device->Activate(IID_IKsControl, CLSCTX_ALL, nullptr, control.PutVoid()));
}

NodeProperty KELAPOIntelDriverInterface_SKL::HeaderOf(Property property,
                                                      std::uint32_t flags) const {
  return {kPropertySet, property, flags, filter_.node, 0};
}

ModuleRequest KELAPOIntelDriverInterface_SKL::RequestOf(Property property,
                                                        std::uint32_t flags) const {
  return {HeaderOf(property, flags), kPostProcessingInterface, module_->type, kModuleId};
}

HRESULT KELAPOIntelDriverInterface_SKL::CheckVersion(IKsControl& control) {
  const DiagnosticSite here = ORV_HERE(kActivate);
  Diagnose(here, L"Testing PP API; comparing versions...");
  VersionAnswer answer = {};
  const HRESULT status = Report(here, L"Error Failed to retrieve version!",
                                GetProperty(control, HeaderOf(kInterfaceVersion, kGet), answer));
  if (FAILED(status)) return status;
  version_ = answer;
  if (answer.version != kSupportedInterface) {
    Diagnose(here, L"Error: API Version mismatch: 0x%x", answer.version);
    return E_FAIL;
  }
  Diagnose(here, L"OK: API Version matched: 0x%x", answer.version);
  return S_OK;
}

HRESULT KELAPOIntelDriverInterface_SKL::ReadModuleList(IKsControl& control,
                                                       std::vector<std::byte>& list) {
  const DiagnosticSite here = ORV_HERE(kActivate);
  const ModuleListRequest request = {HeaderOf(kModuleList, kGet), kPostProcessingInterface};
  ULONG size = 0;
  HRESULT status = SendProperty(control, request, nullptr, 0, size);
  const bool answered = SUCCEEDED(status) || status == kMoreData;
  if (!answered || size < sizeof(ModuleListHeader) || size > kLargestModuleList) {
    Diagnose(here, L"Error: Failed to retrieve modules list! 0x%x", status);
    return answered ? E_FAIL : status;
  }
  list.assign(size, std::byte{0});
  ULONG returned = 0;
  status = SendProperty(control, request, list.data(), list.size(), returned);
  if (SUCCEEDED(status) && returned < sizeof(ModuleListHeader)) status = E_FAIL;
  if (FAILED(status)) {
    Diagnose(here, L"Error: Failed to read modules list!");
    return status;
  }
  list.resize(std::min<std::size_t>(returned, list.size()));
  return S_OK;
}

HRESULT KELAPOIntelDriverInterface_SKL::FindModule(IKsControl& control) {
  const DiagnosticSite here = ORV_HERE(kActivate);
  Diagnose(here, L"Obtaining modules list...");
  std::vector<std::byte> list;
  const HRESULT status = ReadModuleList(control, list);
  if (FAILED(status)) return status;
  ModuleListHeader header;
  std::memcpy(&header, list.data(), sizeof header);
  Diagnose(here, L"Modules count: %d, modules size: %d", header.count, header.total_size);
  // The answer may hold fewer modules than its header counts.
  std::span<const std::byte> entries = std::span(list).subspan(sizeof header);
  lists_modules_ = entries.size() / sizeof(ModuleEntry) >= header.count;
  for (std::uint32_t i = 0; i < header.count && entries.size() >= sizeof(ModuleEntry); ++i) {
    ModuleEntry entry;
    std::memcpy(&entry, entries.data(), sizeof entry);
    entries = entries.subspan(sizeof entry);
    const GUID id = entry.id;
    Diagnose(here, L"Module id:%s, type %s, version %S, name %S", GuidText(id),
             TypeName(entry.type), TextOf(entry.version), TextOf(entry.name));
    if (!module_ && IsEqualGUID(id, kModuleId)) module_ = entry;
  }
  if (!module_) return E_FAIL;
  Diagnose(here, L"--- OK: Matching GUID found! SST PP module is active and ready. ---\n");
  return S_OK;
}

bool KELAPOIntelDriverInterface_SKL::GetAPIVersion(HRESULT& status, std::uint8_t& version,
                                                   std::uint8_t& features) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDriverInterface_SKL::GetAPIVersion");
  if (!version_) {
    status = kUnsuccessful;
    Diagnose(here, L"Error: Get API version failed\n");
    return false;
  }
  status = S_OK;
  version = version_->version;
  features = version_->features;
  Diagnose(here, L"SST Driver API: status=0x%x, version=0x%x, feature=0x%x\n", status, version,
           features);
  return true;
}

bool KELAPOIntelDriverInterface_SKL::GetModuleInfo(HRESULT& status, std::string& name,
                                                   std::string& version) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDriverInterface_SKL::GetModuleInfo");
  status = kUnsuccessful;
  if (!module_) {
    Diagnose(here, L"Sorry, no PP module found on this system.\n");
    return false;
  }
  name = TextOf(module_->name);
  version = TextOf(module_->version);
  if (name.empty()) {
    Diagnose(here, L"Error, module name is empty. \n");
    return false;
  }
  status = S_OK;
  Diagnose(here, L" 0x%x, %S, %S\n", status, name, version);
  return true;
}

bool KELAPOIntelDriverInterface_SKL::GetStatus(HRESULT& status, std::uint8_t& enabled,
                                               std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDriverInterface_SKL::GetStatus");
  std::uint8_t answer = 0;
  status = !control_
               ? E_FAIL
               : GetProperty(*control_, ParameterRequest{RequestOf(kModuleStatus, kGet), 0, apply},
                             answer);
  Diagnose(here, L"ParameterId=0x%x, buffer=0x%x, buffer_size=%d, hr=0x%x\n", 0,
           AddressOf(&enabled), sizeof answer, status);
  if (FAILED(status)) {
    Diagnose(here, L"Error: get statust failed, hr=0x%x\n", status);
    return false;
  }
  enabled = answer;
  Diagnose(here, L"OK: status=0x%x, enabled=%d\n", status, enabled);
  return true;
}

bool KELAPOIntelDriverInterface_SKL::SetStatus(HRESULT& status, std::uint8_t enable,
                                               std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDriverInterface_SKL::SetStatus");
  status = !control_
               ? E_FAIL
               : SetProperty(*control_, ParameterRequest{RequestOf(kModuleStatus, kSet), 0, apply},
                             enable);
  Diagnose(here, L"ParameterId=0x%x, buffer=0x%x, buffer_size=%d, status=0x%x\n", 0,
           AddressOf(&enable), sizeof enable, status);
  if (FAILED(status)) {
    Diagnose(here, L"Error: Set status failed\n");
    return false;
  }
  Diagnose(here, L"OK, status=0x%x\n", status);
  return true;
}

bool KELAPOIntelDriverInterface_SKL::GetInstanceStatus(HRESULT& status, std::uint8_t& instance) {
  status = E_FAIL;
  if (!control_) return false;
  std::uint8_t answer = 0;
  status = GetProperty(*control_, RequestOf(kInstanceStatus, kGet), answer);
  if (SUCCEEDED(status)) instance = answer;
  return SUCCEEDED(status);
}

bool KELAPOIntelDriverInterface_SKL::SetParameter(HRESULT& status, std::uint32_t parameter,
                                                  const void* buffer, std::uint32_t size,
                                                  std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDriverInterface_SKL::SetParameter");
  status = E_FAIL;
  if (!control_) {
    Diagnose(here,
             L"Error: PP Module not activated.  Cannot set parameters to codec driver.  "
             L"Status=0x%x\n",
             status);
    return false;
  }
  status = E_INVALIDARG;
  if (size <= kLargestBlock) {
    const ParameterRequest request = {RequestOf(kParameterBlock, kSet), parameter, apply};
    block_buffer.size = size;
    std::memcpy(block_buffer.data, buffer, size);
    ULONG returned = 0;
    status =
        SendProperty(*control_, request, &block_buffer, sizeof block_buffer.size + size, returned);
  }
  Diagnose(here, L"ParameterId=0x%x, buffer=0x%x, buffer_size=%d, status=0x%x\n", parameter,
           AddressOf(buffer), size, status);
  DumpBuffer({static_cast<const std::byte*>(buffer), size});
  if (FAILED(status)) Diagnose(here, L"Error: Set param failed.\n");
  return SUCCEEDED(status);
}

bool KELAPOIntelDriverInterface_SKL::ReadAnswer(void* buffer, std::uint32_t size, ULONG returned) {
  const std::uint32_t answered = returned < sizeof block_buffer.size ? 0 : block_buffer.size;
  if (answered == 0 || answered > std::min<std::size_t>(size, sizeof block_buffer.data))
    return false;
  if (returned < sizeof block_buffer.size + answered) {
    Diagnose(ORV_HERE("KELAPOIntelDriverInterface_SKL::GetParameter"),
             L"Error: memcpy_s() failed.\n");
    return false;
  }
  std::memset(buffer, 0, size);
  std::memcpy(buffer, block_buffer.data, answered);
  return true;
}

bool KELAPOIntelDriverInterface_SKL::GetParameter(HRESULT& status, std::uint32_t parameter,
                                                  void* buffer, std::uint32_t size,
                                                  std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("KELAPOIntelDriverInterface_SKL::GetParameter");
  status = E_FAIL;
  if (!control_) {
    Diagnose(here, L"Error: SKL driver handle is null. Is SST active? Status=0x%x\n", status);
    return false;
  }
  const ParameterRequest request = {RequestOf(kParameterBlock, kGet), parameter, apply};
  block_buffer.size = 0;
  ULONG returned = 0;
  status = SendProperty(*control_, request, &block_buffer, sizeof block_buffer, returned);
  if (SUCCEEDED(status) && !ReadAnswer(buffer, size, returned)) status = E_FAIL;
  Diagnose(here, L"ParameterId=0x%x, buffer=0x%x, buffer_size=%d, status=0x%x\n", parameter,
           AddressOf(buffer), size, status);
  if (FAILED(status)) {
    Diagnose(here, L"Warning: Get param failed.\n");
    return false;
  }
  DumpBuffer({static_cast<const std::byte*>(buffer), size});
  return true;
}

HRESULT KELAPOIntelDriverInterface_SKL::RegisterModuleEvent() {
  const HRESULT status = SetProperty(*control_, RequestOf(kRegisterEvent, kSet), event_->native());
  event_registered_ = SUCCEEDED(status);
  return status;
}

void KELAPOIntelDriverInterface_SKL::UnregisterEvent() {
  if (!event_registered_ || !control_) return;
  const ParameterRequest request = {RequestOf(kUnregisterEvent, kSet), 0, 0};
  const HRESULT status = SetProperty(*control_, request, event_->native());
  event_registered_ = false;
  Diagnose(ORV_HERE("KELAPOIntelDriverInterface_SKL::UnregisterEvent"),
           L"Unregister module event, hr=0x%x\n", status);
}

}  // namespace orv::skylake
