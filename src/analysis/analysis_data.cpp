#include "analysis/analysis_data.h"

#include "analysis/analysis_object.h"
#include "frame/object_creation.h"
#include "platform/guard.h"

namespace orv {

HRESULT CreateAnalysisData(Module& module, IUnknown* endpoint, const std::wstring& device_id,
                           IAnalysisData** analysis) {
  if (analysis == nullptr) return E_POINTER;
  *analysis = nullptr;
  return Guard([&]() -> HRESULT {
    ComPtr<CAnalysisData> object;
    const HRESULT status = CreateObject(object, module, endpoint, device_id);
    if (FAILED(status)) return status;
    *analysis = object.Detach();
    return S_OK;
  });
}

}  // namespace orv
