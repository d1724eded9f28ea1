#include "api/endpoint_enumerator.h"

#include <algorithm>
#include <string>

#include "api/endpoint.h"
#include "frame/object_creation.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/guard.h"
#include "platform/text.h"

namespace orv {

HRESULT CORVEndpointEnumerator::Create(Module& module, CORVAPOSystem& system,
                                       ComPtr<CORVEndpointEnumerator>& enumerator) {
  const HRESULT status = Guard([&] { return CreateObject(enumerator, module, system); });
  Diagnose(ORV_HERE("CORVEndpointEnumerator::CreateEnumerator"),
           L"CORVEndpointEnumerator::CreateEnumerator status 0x%x, e: 0x%p\n", status,
           static_cast<const void*>(enumerator.get()));
  return status;
}

HRESULT CORVEndpointEnumerator::FinalConstruct() {
  ORVAPOEndpointTools(*system_->machine()).EnumerateEndpoints(endpoints_);
  Diagnose(ORV_HERE("CORVEndpointEnumerator::FinalConstruct"),
           L"CORVEndpointEnumerator found %d endpoints\n", endpoints_.size());
  std::erase_if(endpoints_, CantLoadConfigFile);
  Diagnose(ORV_HERE("CORVEndpointEnumerator::FinalConstruct"),
           L"CORVEndpointEnumerator: %d endpoints remaining after checking config file.",
           endpoints_.size());
  return S_OK;
}

bool CORVEndpointEnumerator::CantLoadConfigFile(const ORVAPOEndpointInfo& record) {
  if (record.config_file().empty()) {
    Diagnose(ORV_HERE("CORVEndpointEnumerator::CantLoadConfigFile"),
             L"No config file specified.\n");
    return true;
  }
  ORVAPOConfigurationFile configuration(record.machine());
  const LoadStatus status = configuration.Load(record.config_file(), kORVAPO_EPCfg_None, 0);
  Diagnose(ORV_HERE("CORVEndpointEnumerator::CantLoadConfigFile"), L"Load code: %d\n",
           NumberOf(status));
  return !IsUsable(status);
}

HRESULT CORVEndpointEnumerator::Next(IORVEndpointInfo** device) {
  return Guard([&]() -> HRESULT {
    if (device == nullptr) return E_POINTER;
    *device = nullptr;
    if (cursor_ == endpoints_.size()) return S_FALSE;
    return MakeEndpoint(endpoints_[cursor_++], device);
  });
}

HRESULT CORVEndpointEnumerator::Reset() {
  cursor_ = 0;
  return S_OK;
}

HRESULT CORVEndpointEnumerator::GetEndpointFromDevice(BSTR device_id, IORVEndpointInfo** device) {
  return Guard([&]() -> HRESULT {
    if (device == nullptr || device_id == nullptr) return E_POINTER;
    *device = nullptr;
    const auto found = std::ranges::find_if(endpoints_, [&](const ORVAPOEndpointInfo& record) {
      return EqualsIgnoringCase(DeviceIdentifier(*record.device()), device_id);
    });
    return found == endpoints_.end() ? E_INVALIDARG : MakeEndpoint(*found, device);
  });
}

HRESULT CORVEndpointEnumerator::MakeEndpoint(const ORVAPOEndpointInfo& record,
                                             IORVEndpointInfo** device) {
  ComPtr<CORVCOMEndpointInfo> endpoint;
  const HRESULT status = CreateObject(endpoint, module(), system_);
  if (FAILED(status)) return status;
  if (!IsUsable(endpoint->SetInfo(record, kORVAPO_EPCfg_None))) return E_FAIL;
  return endpoint->QueryInterface(IID_PPV_ARGS(device));
}

}  // namespace orv
