#include "intel_dsp/intel_dsp_object.h"

#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/text.h"

namespace orv {
namespace {

constexpr wchar_t kVersion[] = L"" ORV_VERSION;
constexpr wchar_t kEventName[] = L"Global\\DSPKELControlChangeEvent";
constexpr wchar_t kProcessEnableControl[] = L"VQ3D-Process Enable";

}  // namespace

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

CKELAPOIntelDSP::Kind CKELAPOIntelDSP::ActiveKind() const noexcept {
  const bool lost = (kind_ == Kind::Broadwell && clients_.broadwell() == nullptr) ||
                    (kind_ == Kind::Skylake && clients_.skylake() == nullptr);
  return lost ? Kind::None : kind_;
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
    const Kind kind = ActiveKind();
    if (kind == Kind::Broadwell)
      answered = clients_.broadwell()->GetAPIVersion(driver_status, *ver, *features);
    if (kind == Kind::Skylake)
      answered = clients_.skylake()->GetAPIVersion(driver_status, *ver, *features);
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
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::GetModuleInfo");
  HRESULT status = E_FAIL;
  bool succeeded = false;
  switch (ActiveKind()) {
    case Kind::Broadwell:
      succeeded = clients_.broadwell()->GetModuleInfo(status, name, version);
      return StatusOf(succeeded, status);
    case Kind::Skylake:
      succeeded = clients_.skylake()->GetModuleInfo(status, name, version);
      if (!succeeded) return StatusOf(succeeded, status);
      Diagnose(here, L"Intel audio codec module info:");
      Diagnose(here, L"    PP Module Name: %S", name);
      Diagnose(here, L"    PP Module Version: %S", version);
      ReportModule();
      return status;
    case Kind::None:
      break;
  }
  return E_FAIL;
}

void CKELAPOIntelDSP::ReportModule() {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::GetModuleInfo");
  HRESULT status = E_FAIL;
  std::uint8_t instance = 0;
  if (!clients_.skylake()->GetInstanceStatus(status, instance) || instance == 0) {
    Diagnose(here, L"    PP Module Status: %s", L"Not instantiated");
    return;
  }
  std::uint8_t enabled = 0;
  const bool is_enabled = clients_.skylake()->GetStatus(status, enabled, 0) && enabled != 0;
  Diagnose(here, L"    PP Module Status: %s", is_enabled ? L"Enabled" : L"Disabled");
  if (!is_enabled) return;
  SkylakeImage image;
  Skylake().GetVQ3DParameters(image);  // reports every block
}

HRESULT CKELAPOIntelDSP::put_APOEnable(LONG val, LONG set_default) {
  return WithDriverClients([&]() -> HRESULT {
    const std::uint8_t apply = ApplyFlag(set_default);
    HRESULT status = E_FAIL;
    switch (ActiveKind()) {
      case Kind::Broadwell: {
        std::byte enable[4] = {};
        StoreField(enable, 0, FieldType::U32, val != 0 ? 1 : 0);
        if (!clients_.broadwell()->SetParameter(status, broadwell::kProcessEnable, enable,
                                                sizeof enable, apply))
          return E_FAIL;
        break;
      }
      case Kind::Skylake:
        Skylake().SetProcessEnable(static_cast<std::uint32_t>(val), apply);
        status = Skylake().SetPPModuleStatus(val != 0 ? 1 : 0, apply);
        break;
      case Kind::None:
        break;
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
    switch (ActiveKind()) {
      case Kind::Broadwell:
        return Broadwell().GetProperty(name, apply, *value);
      case Kind::Skylake:
        return name == kProcessEnableControl ? GetProcessEnable(apply, *value) : E_NOTIMPL;
      case Kind::None:
        break;
    }
    return E_NOTIMPL;
  });
}

HRESULT CKELAPOIntelDSP::GetProcessEnable(std::uint8_t apply, VARIANT& value) {
  const DiagnosticSite here = ORV_HERE("CKELAPOIntelDSP::get_Property");
  const auto text = [](bool enabled) { return enabled ? L"Enabled" : L"Disabled"; };
  HRESULT status = E_FAIL;
  std::uint8_t module_enabled = 0;
  if (clients_.skylake()->GetStatus(status, module_enabled, apply))
    Diagnose(here, L"OK: PP Module Status: %s", text(module_enabled != 0));
  else
    Diagnose(here, L"ERROR: failed to get status from PP Module.");
  bool firmware_enabled = false;
  if (SUCCEEDED(Skylake().ReadProcessEnable(firmware_enabled, apply)))
    Diagnose(here, L"OK: PP FW Status: %s", text(firmware_enabled));
  else
    Diagnose(here, L"Error: failed to get VQ3D FW status.");
  value.vt = VT_I4;
  value.lVal = module_enabled != 0 && firmware_enabled ? 1 : 0;
  return S_OK;
}

HRESULT CKELAPOIntelDSP::put_Property(BSTR prop_name, LONG set_default, VARIANT value) {
  return WithDriverClients([&]() -> HRESULT {
    if (prop_name != nullptr) SetKELDSPControlChangeEvent();
    const std::wstring name(ViewOf(prop_name));
    const std::uint8_t apply = ApplyFlag(set_default);
    switch (ActiveKind()) {
      case Kind::Broadwell:
        return Broadwell().SetProperty(name, apply, value);
      case Kind::Skylake:
        return Skylake().SetControl(name, value, last_written_, apply);
      case Kind::None:
        break;
    }
    return E_FAIL;
  });
}

void CKELAPOIntelDSP::SetKELDSPControlChangeEvent() {
  if (event_ == nullptr) return;
  Diagnose(ORV_HERE("CKELAPOIntelDSP::SetKELDSPControlChangeEvent"), L"setting DSP change event\n");
  event_->Set();
}

}  // namespace orv
