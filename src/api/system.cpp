#include "api/system.h"

#include <utility>

#include "api/endpoint_enumerator.h"
#include "platform/dynamic_library.h"
#include "platform/guard.h"
#include "platform/text.h"

namespace orv {

CORVAPOSystem::CORVAPOSystem(Module& module) : RefCounted(&module), machine_(module.machine()) {}

HRESULT CORVAPOSystem::EnumerateORVEndpoints(IORVEndpointEnumerator** ep_enum) {
  return Guard([&]() -> HRESULT {
    if (ep_enum == nullptr) return E_POINTER;
    if (apo_path_.empty()) return orv_apo::kNotInitialized;
    ComPtr<CORVEndpointEnumerator> enumerator;
    const HRESULT status = CORVEndpointEnumerator::Create(module(), *this, enumerator);
    if (FAILED(status)) return status;
    return enumerator->QueryInterface(IID_PPV_ARGS(ep_enum));
  });
}

HRESULT CORVAPOSystem::InitializeSystem(BSTR apo_path) {
  return Guard([&]() -> HRESULT {
    if (!apo_path_.empty()) return orv_apo::kAlreadyInitialized;
    std::wstring path;
    if (apo_path == nullptr || *apo_path == L'\0') {
      path = RemoveLastPathElement(OwnModulePath());
    } else {
      path = apo_path;
    }
    if (path.empty() || path.back() != L'\\') path.push_back(L'\\');
    process_info_ = std::make_unique<ORVAPOProcessInfo>(*machine_, path.c_str());
    apo_path_ = std::move(path);
    return S_OK;
  });
}

}  // namespace orv
