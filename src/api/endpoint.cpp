#include "api/endpoint.h"

#include <algorithm>
#include <utility>

#include "analysis/analysis_data.h"
#include "api/config_enumerator.h"
#include "api/operating_mode.h"
#include "frame/object_creation.h"
#include "intel_dsp/intel_dsp.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/guard.h"
#include "qc_dsp/qualcomm_dsp.h"

namespace orv {
namespace {

// Query, set, create, enumerate, notify.
constexpr std::uint32_t kRegistryKeyAccess = kKeyQueryValue | kKeySetValue | kKeyCreateSubKey |
                                             kKeyEnumerateSubKeys | kKeyNotify | kKeyWow64_64;
constexpr std::uint32_t kCreatedNewKey = 1;
constexpr std::uint32_t kOpenedExistingKey = 2;

HRESULT TextOf(const std::wstring& text, BSTR* result) noexcept {
  return result == nullptr ? E_POINTER : ReturnText(text, result);
}

}  // namespace

CORVCOMEndpointInfo::CORVCOMEndpointInfo(Module& module, const ComPtr<CORVAPOSystem>& system)
    : RefCounted(&module),
      machine_(system->machine()),
      record_(*machine_),
      mode_selector_(std::make_unique<ORVAPOModeSelector>(*machine_)),
      configuration_(std::make_unique<ORVAPOConfigurationFile>(*machine_)),
      headset_detectors_(MakeHeadsetDetectors()),
      system_(system) {}

LoadStatus CORVCOMEndpointInfo::SetInfo(const ORVAPOEndpointInfo& record,
                                        std::uint32_t config_type) {
  if (&record != &record_) record_ = record;
  if (!record_.apo_key_path().empty()) CreateRegistryKey();
  if (record_.config_file().empty()) return LoadStatus::NoDocument;

  // Both are prepared before they replace the members: if memory runs out, the earlier state stays.
  auto configuration = std::make_unique<ORVAPOConfigurationFile>(*configuration_);
  const LoadStatus status =
      configuration->Load(record_.config_file(), config_type, kPlainChainLocation);
  if (IsUsable(status)) {
    auto mode_selector = std::make_unique<ORVAPOModeSelector>(*machine_);
    mode_selector->Init(record_.apo_key_path(), configuration->GetDefaultModeKey());
    mode_selector_ = std::move(mode_selector);
  }
  configuration_ = std::move(configuration);
  return status;
}

void CORVCOMEndpointInfo::CreateRegistryKey() {
  std::unique_ptr<RegistryKey> key;
  bool created = false;
  const RegStatus status = machine_->registry().CreateKey(
      RegRoot::LocalMachine, record_.apo_key_path(), kRegistryKeyAccess, key, &created);
  std::uint32_t disposition = 0;
  if (status == kRegOk) disposition = created ? kCreatedNewKey : kOpenedExistingKey;
  Diagnose(ORV_HERE("CORVCOMEndpointInfo::SetInfo"),
           L"CORVCOMEndpointInfo::SetInfo reg key creation: 0x%x, %d\n", status, disposition);
}

HRESULT CORVCOMEndpointInfo::get_FriendlyName(BSTR* friendly_name) {
  return TextOf(record_.display_name(), friendly_name);
}

HRESULT CORVCOMEndpointInfo::get_ConfigFile(BSTR* config_file) {
  return TextOf(record_.config_file(), config_file);
}

HRESULT CORVCOMEndpointInfo::get_RegistryPath(BSTR* reg_path) {
  return TextOf(record_.apo_key_path(), reg_path);
}

HRESULT CORVCOMEndpointInfo::GetOpModeEnumerator(IORVAPOOpModeEnumerator** e) {
  return Guard([&]() -> HRESULT {
    if (e == nullptr) return E_POINTER;
    return HandOut<CORVAPOOpModeEnumerator>(e, module(), *this, configuration_->GetModes());
  });
}

HRESULT CORVCOMEndpointInfo::SetDefault() {
  return Guard([&]() -> HRESULT {
    mode_selector_->SetCurrentMode(configuration_->GetDefaultModeKey());
    return S_OK;
  });
}

HRESULT CORVCOMEndpointInfo::put_OpMode(IORVOperatingMode* mode) {
  return Guard([&]() -> HRESULT {
    if (mode == nullptr) {
      Diagnose(ORV_HERE("CORVCOMEndpointInfo::put_OpMode"),
               L"CORVCOMEndpointInfo::put_OpMode called with NULL mode\n");
      return E_POINTER;
    }
    const auto own = OwnModeOf(mode);
    if (!own) return E_FAIL;
    const ORVAPOModeKey& key = own->mode_record().GetModeKey();
    Diagnose(ORV_HERE("CORVCOMEndpointInfo::put_OpMode"), L"Changing operating mode to [%s]\n",
             key.GetModeName());
    return mode_selector_->SetCurrentMode(key) ? S_OK : E_FAIL;
  });
}

HRESULT CORVCOMEndpointInfo::get_OpMode(IORVOperatingMode** mode) {
  return Guard([&]() -> HRESULT {
    if (mode == nullptr) return E_POINTER;
    ORVAPOModeKey current;
    mode_selector_->GetCurrentMode(current);
    const ORVAPOModeList& modes = configuration_->GetModes();
    const auto found = std::ranges::find_if(
        modes, [&](const auto& record) { return record->GetModeKey().HasSameName(current); });
    if (found == modes.end()) return orv_apo::kNotFound;
    return HandOut<CORVOperatingMode>(mode, module(), *this, *found);
  });
}

HRESULT CORVCOMEndpointInfo::GetConfig(ORVAPOEndpointConfig* config) {
  if (config == nullptr) return E_POINTER;
  *config = static_cast<ORVAPOEndpointConfig>(configuration_->GetEndpointConfig());
  return S_OK;
}

HRESULT CORVCOMEndpointInfo::SetConfig(ORVAPOEndpointConfig config) {
  return Guard([&]() -> HRESULT {
    const auto config_type = static_cast<std::uint32_t>(config);
    if (config_type > kORVAPO_EPCfg_DSP) return E_INVALIDARG;
    return IsUsable(SetInfo(record_, config_type)) ? S_OK : E_FAIL;
  });
}

HRESULT CORVCOMEndpointInfo::GetQCDSPInterface(IORVAPOQCDSP** qc_dsp) {
  return Guard([&]() -> HRESULT {
    if (qc_dsp == nullptr) return E_POINTER;
    *qc_dsp = nullptr;
    return CreateQualcommDspForEndpoint(module(), unknown(), record_.device(), qc_dsp);
  });
}

HRESULT CORVCOMEndpointInfo::get_config_enum(IORVAPOConfigEnumerator** enumerator) {
  return Guard([&]() -> HRESULT {
    if (enumerator == nullptr) {
      Diagnose(ORV_HERE("CORVCOMEndpointInfo::get_config_enum"),
               L"CORVCOMEndpointInfo::get_config_enum called with NULL pointer.");
      return E_POINTER;
    }
    return HandOut<CORVAPOConfigEnumerator>(enumerator, module(), *this,
                                            configuration_->GetProperties());
  });
}

HRESULT CORVCOMEndpointInfo::get_AnalysisData(IAnalysisData** analysis_data) {
  return Guard([&]() -> HRESULT {
    if (analysis_data == nullptr) return E_POINTER;
    *analysis_data = nullptr;
    return CreateAnalysisData(module(), unknown(), record_.endpoint_id(), analysis_data);
  });
}

HRESULT CORVCOMEndpointInfo::get_EndpointProp(KELAPOEndpointProperty prop, ULONG* value) {
  if (value == nullptr) return E_POINTER;
  if (prop != kKELAPO_EPProp_Type) return E_INVALIDARG;
  *value = record_.is_render() ? eRender : eCapture;
  return S_OK;
}

HRESULT CORVCOMEndpointInfo::get_HeadsetConnected(LONG* connected) {
  return Guard([&]() -> HRESULT {
    if (connected == nullptr) return E_POINTER;
    *connected = 0;
    for (HeadsetDetection& detection : headset_detectors_) {
      if (detection.check(record_, *connected, detection)) return S_OK;
    }
    return S_FALSE;
  });
}

HRESULT CORVCOMEndpointInfo::GetIntelInterface(IKELAPOIntelDSP** intel_dsp) {
  return Guard([&]() -> HRESULT {
    if (intel_dsp == nullptr) return E_POINTER;
    *intel_dsp = nullptr;
    return CreateIntelDriverClient(module(), unknown(), record_.endpoint_id(), intel_dsp);
  });
}

}  // namespace orv
