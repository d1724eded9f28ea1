#include "analysis/analysis_data.h"

namespace orv {

HRESULT CreateAnalysisData(Module&, IUnknown*, const std::wstring&, IAnalysisData**) {
  return E_NOTIMPL;
}

}  // namespace orv
