// A snapshot of the machine's usable endpoints.
#pragma once

#include <cstddef>
#include <vector>

#include "api/system.h"
#include "endpoints/endpoint_info.h"

namespace orv {

class CORVEndpointEnumerator final : public RefCounted<Chain<IORVEndpointEnumerator>> {
 public:
  // Scans the machine: the active render endpoints whose configuration file loads.
  static HRESULT Create(Module& module, CORVAPOSystem& system,
                        ComPtr<CORVEndpointEnumerator>& enumerator);

  CORVEndpointEnumerator(Module& module, CORVAPOSystem& system)
      : RefCounted(&module), system_(&system) {}
  HRESULT FinalConstruct();

  HRESULT STDMETHODCALLTYPE Next(IORVEndpointInfo** device) override;
  HRESULT STDMETHODCALLTYPE Reset() override;
  HRESULT STDMETHODCALLTYPE GetEndpointFromDevice(BSTR device_id,
                                                  IORVEndpointInfo** device) override;

 private:
  static bool CantLoadConfigFile(const ORVAPOEndpointInfo& record);
  HRESULT MakeEndpoint(const ORVAPOEndpointInfo& record, IORVEndpointInfo** device);

  ComPtr<CORVAPOSystem> system_;
  std::vector<ORVAPOEndpointInfo> endpoints_;
  std::size_t cursor_ = 0;
};

}  // namespace orv
