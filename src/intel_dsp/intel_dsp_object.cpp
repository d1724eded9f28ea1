#include "intel_dsp/intel_dsp_object.h"

#include "intel_dsp/intel_dsp.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/text.h"

namespace orv {
namespace {

constexpr wchar_t kVersion[] = L"" ORV_VERSION;
constexpr wchar_t kEventName[] = L"Global\\DSPKELControlChangeEvent";
constexpr wchar_t kProcessEnableControl[] = L"VQ3D-Process Enable";

// Whether both the module and its firmware are enabled; reports both.
bool IsProcessEnabled(KELAPOIntelDriverInterface_SKL& driver, std::uint8_t apply) {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::get_Property");
  const auto text = [](bool enabled) { return enabled ? L"Enabled" : L"Disabled"; };
  HRESULT status = E_FAIL;
  std::uint8_t module_enabled = 0;
  if (driver.GetStatus(status, module_enabled, apply))
    Diagnose(here, L"OK: PP Module Status: %s", text(module_enabled != 0));
  else
    Diagnose(here, L"ERROR: failed to get status from PP Module.");
  bool firmware_enabled = false;
  if (SUCCEEDED(KELAPOIntelDSP_SKL(driver).ReadProcessEnable(firmware_enabled, apply)))
    Diagnose(here, L"OK: PP FW Status: %s", text(firmware_enabled));
  else
    Diagnose(here, L"Error: failed to get VQ3D FW status.");
  return module_enabled != 0 && firmware_enabled;
}

}  // namespace

IntelDriverClients& IntelDriverClients::OfProcess() {
  // Never destroyed: a driver must not be called while the library is being unloaded.
  union Undestroyed {
    Undestroyed() : clients() {}
    ~Undestroyed() {}
    IntelDriverClients clients;
  };
  static Undestroyed kept;
  return kept.clients;
}

RecursiveMutex& IntelDriverClients::Lock() {
  static RecursiveMutex lock;
  return lock;
}

HRESULT IntelDriverClients::ReplaceBroadwell(Machine& machine) {
  HRESULT status = E_FAIL;
  broadwell_ = std::make_unique<ORVAPOIntelDriverInterface_BRW>(machine, status,
                                                                broadwell::kPostProcessingModule);
  return status;
}

HRESULT IntelDriverClients::ReplaceSkylake(const std::shared_ptr<Machine>& machine,
                                           const std::shared_ptr<NamedEvent>& event,
                                           const std::wstring& device_id) {
  // The present client takes its event back before the new one registers what may be the same.
  skylake_ = std::make_unique<KELAPOIntelDriverInterface_SKL>(machine, event);
  return skylake_->ActivateIKsControls(device_id);
}

void IntelDriverClients::Release() noexcept {
  const std::scoped_lock lock(Lock());
  broadwell_.reset();
  skylake_.reset();
}

HRESULT CKELAPOIntelDSP::FinalConstruct() {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::FinalConstruct");
  Diagnose(here, L"APO VERSION: %s\n", kVersion);
  machine_ = module().machine();
  if (machine_ == nullptr) return E_UNEXPECTED;
  const std::scoped_lock lock(IntelDriverClients::Lock());
  OpenEvent();
  HRESULT status = clients_.ReplaceBroadwell(*machine_);
  kind_ = Kind::Broadwell;
  if (SUCCEEDED(status)) {
    UniqueBstr name;
    UniqueBstr version;
    status = GetModuleInfo(OutPtr(name), OutPtr(version));
  }
  if (status != S_OK) kind_ = Kind::None;
  if (SUCCEEDED(status)) return status;
  Diagnose(here, L"Warning: Failed to open Broadwell driver, status=0x%x\n", status);
  Diagnose(here, L"Trying to open Skylate driver using default endpoint, status=0x%x\n", status);
  status = OpenDefaultSkylake();
  return for_endpoint_ && status != E_OUTOFMEMORY ? S_OK : status;
}

void CKELAPOIntelDSP::OpenEvent() {
  std::uint32_t error = 0;
  event_ = machine_->OpenNamedEvent(kEventName, error);
  if (event_ != nullptr) return;
  Diagnose(ORV_HERE("CKELAPOIntelDSP::FinalConstruct"),
           L"OpenEvent() failed DWORD: %d, HRESULT: 0x%x\n", error,
           orv_apo::StatusOfSystemError(error));
}

HRESULT CKELAPOIntelDSP::OpenDefaultSkylake() {
  ComPtr<IMMDeviceEnumerator> devices;
  HRESULT status = machine_->CreateDeviceEnumerator(devices.Put());
  if (FAILED(status)) return status;
  ComPtr<IMMDevice> endpoint;
  status = devices->GetDefaultAudioEndpoint(eRender, eMultimedia, endpoint.Put());
  if (FAILED(status)) return status;
  std::wstring id;
  status = ReadTaskText(*endpoint, &IMMDevice::GetId, id);
  return FAILED(status) ? status : InitSkylakeDsp(id);
}

HRESULT CKELAPOIntelDSP::InitSkylakeDsp(const std::wstring& device_id) {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::InitSkylakeDsp");
  device_id_ = device_id;
  const HRESULT status = clients_.ReplaceSkylake(machine_, event_, device_id_);
  if (FAILED(status)) {
    Diagnose(here, L"WARNING: Failed to open access to Skylake DSP, endpoint: %s, hr=0x%x\n",
             device_id_, status);
    kind_ = Kind::None;
    return E_FAIL;
  }
  Diagnose(here, L"OK: Opened access to Skylake DSP, endpoint: %s, hr=0x%x\n", device_id_, status);
  kind_ = Kind::Skylake;
  return S_OK;
}

HRESULT CKELAPOIntelDSP::AttachEndpoint(IUnknown* endpoint, const std::wstring& device_id) {
  const std::scoped_lock lock(IntelDriverClients::Lock());
  device_id_ = device_id;
  endpoint_ = ComPtr<IUnknown>(endpoint);
  return kind_ == Kind::Broadwell ? S_OK : InitSkylakeDsp(device_id);
}

HRESULT CKELAPOIntelDSP::put_dspDeviceId(LPWSTR device_id) {
  return WithDriverClients([&]() -> HRESULT {
    if (device_id == nullptr) return E_POINTER;
    if (kind_ == Kind::Broadwell) return S_OK;
    return machine_ == nullptr ? E_UNEXPECTED : InitSkylakeDsp(device_id);
  });
}

HRESULT CKELAPOIntelDSP::get_ApoVersion(BSTR* version) {
  return version == nullptr ? E_POINTER : ReturnText(kVersion, version);
}

HRESULT CKELAPOIntelDSP::GetAPIVersion(BYTE* ver, BYTE* features) {
  return WithDriverClients([&]() -> HRESULT {
    if (ver == nullptr || features == nullptr) return E_POINTER;
    HRESULT driver_status = E_FAIL;
    bool answered = false;
    if (auto* const driver = Broadwell())
      answered = driver->GetAPIVersion(driver_status, *ver, *features);
    if (auto* const driver = Skylake())
      answered = driver->GetAPIVersion(driver_status, *ver, *features);
    const HRESULT status = answered ? S_OK : E_FAIL;
    Diagnose(ORV_HERE("CKELAPOIntelDSP::GetAPIVersion"), L"APO VERSION: %s, hr=0x%x, status=0x%x\n",
             kVersion, status, driver_status);
    return status;
  });
}

HRESULT CKELAPOIntelDSP::GetModuleInfo(BSTR* name, BSTR* ver) {
  return WithDriverClients([&]() -> HRESULT {
    if (name == nullptr || ver == nullptr) return E_POINTER;
    *name = nullptr;
    *ver = nullptr;
    std::string module_name;
    std::string module_version;
    const HRESULT status = ReadModuleInfo(module_name, module_version);
    if (FAILED(status)) return status;
    UniqueBstr wide_name;
    if (FAILED(ReturnText(Widen(module_name), OutPtr(wide_name)))) return E_OUTOFMEMORY;
    if (FAILED(ReturnText(Widen(module_version), ver))) return E_OUTOFMEMORY;
    *name = wide_name.release();
    Diagnose(ORV_HERE("CKELAPOIntelDSP::GetModuleInfo"), L"APO VERSION: %s\n", kVersion);
    return status;
  });
}

HRESULT CKELAPOIntelDSP::ReadModuleInfo(std::string& name, std::string& version) {
  HRESULT status = E_FAIL;
  if (auto* const driver = Broadwell()) {
    const bool succeeded = driver->GetModuleInfo(status, name, version);
    return StatusOf(succeeded, status);
  }
  auto* const driver = Skylake();
  if (driver == nullptr) return E_FAIL;
  if (!driver->GetModuleInfo(status, name, version)) return StatusOf(false, status);
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::GetModuleInfo");
  Diagnose(here, L"Intel audio codec module info:");
  Diagnose(here, L"    PP Module Name: %S", name);
  Diagnose(here, L"    PP Module Version: %S", version);
  ReportModule(*driver);
  return status;
}

void CKELAPOIntelDSP::ReportModule(KELAPOIntelDriverInterface_SKL& driver) {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::GetModuleInfo");
  HRESULT status = E_FAIL;
  std::uint8_t instance = 0;
  if (!driver.GetInstanceStatus(status, instance) || instance == 0) {
    Diagnose(here, L"    PP Module Status: %s", L"Not instantiated");
    return;
  }
  std::uint8_t enabled = 0;
  const bool is_enabled = driver.GetStatus(status, enabled, 0) && enabled != 0;
  Diagnose(here, L"    PP Module Status: %s", is_enabled ? L"Enabled" : L"Disabled");
  if (!is_enabled) return;
  SkylakeImage image;
  KELAPOIntelDSP_SKL(driver).GetVQ3DParameters(image);  // reports every block
}

HRESULT CKELAPOIntelDSP::put_APOEnable(LONG val, LONG set_default) {
  return WithDriverClients([&]() -> HRESULT {
    const std::uint8_t apply = ApplyFlag(set_default);
    HRESULT status = E_FAIL;
    if (auto* const driver = Broadwell()) {
      std::byte enable[4] = {};
      StoreField(enable, 0, FieldType::U32, val != 0 ? 1 : 0);
      if (!driver->SetParameter(status, broadwell::kProcessEnable, enable, sizeof enable, apply))
        return E_FAIL;
    }
    if (auto* const driver = Skylake()) {
      KELAPOIntelDSP_SKL writers(*driver);
      writers.SetProcessEnable(static_cast<std::uint32_t>(val), apply);
      status = writers.SetPPModuleStatus(val != 0 ? 1 : 0, apply);
    }
    return SUCCEEDED(status) ? S_OK : E_FAIL;
  });
}

HRESULT CKELAPOIntelDSP::get_Property(BSTR prop_name, LONG set_default, VARIANT* value) {
  return WithDriverClients([&]() -> HRESULT {
    if (value == nullptr) return E_POINTER;
    VariantInit(value);
    const std::wstring name(ViewOf(prop_name));
    const std::uint8_t apply = ApplyFlag(set_default);
    if (auto* const driver = Broadwell())
      return KELAPOIntelDSP_BRW(*driver).GetProperty(name, apply, *value);
    auto* const driver = Skylake();
    if (driver == nullptr || name != kProcessEnableControl) return E_NOTIMPL;
    value->vt = VT_I4;
    value->lVal = IsProcessEnabled(*driver, apply) ? 1 : 0;
    return S_OK;
  });
}

HRESULT CKELAPOIntelDSP::put_Property(BSTR prop_name, LONG set_default, VARIANT value) {
  return WithDriverClients([&]() -> HRESULT {
    if (prop_name != nullptr) SetKELDSPControlChangeEvent();
    const std::wstring name(ViewOf(prop_name));
    const std::uint8_t apply = ApplyFlag(set_default);
    if (auto* const driver = Broadwell())
      return KELAPOIntelDSP_BRW(*driver).SetProperty(name, apply, value);
    if (auto* const driver = Skylake())
      return KELAPOIntelDSP_SKL(*driver).SetControl(name, value, last_written_, apply);
    return E_FAIL;
  });
}

void CKELAPOIntelDSP::SetKELDSPControlChangeEvent() {
  if (event_ == nullptr) return;
  Diagnose(ORV_HERE("CKELAPOIntelDSP::SetKELDSPControlChangeEvent"), L"setting DSP change event\n");
  event_->Set();
}

HRESULT CreateIntelDriverClient(Module& module, IUnknown* endpoint, const std::wstring& device_id,
                                IKELAPOIntelDSP** dsp) {
  if (dsp == nullptr) return E_POINTER;
  *dsp = nullptr;
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::CreateIntelDriverClient");
  const HRESULT status = Guard([&]() -> HRESULT {
    ComPtr<CKELAPOIntelDSP> object;
    const HRESULT made = CreateObject(object, module, /*for_endpoint=*/true);
    if (FAILED(made)) return made;
    const HRESULT attached = object->AttachEndpoint(endpoint, device_id);
    if (SUCCEEDED(attached)) *dsp = object.Detach();
    return attached;
  });
  if (FAILED(status)) Diagnose(here, L"Error, failed to access Intel driver/module. \n");
  Diagnose(here, L"status=0x%x, %s\n", status, SUCCEEDED(status) ? L"OK" : L"FAILED");
  return status;
}

HRESULT CreateIntelDspForClient(Module& module, IUnknown* outer, REFIID iid, void** object) {
  return CreateForClient<CKELAPOIntelDSP>(outer, iid, object, module);
}

void ReleaseIntelDriverClients() { IntelDriverClients::OfProcess().Release(); }

}  // namespace orv
