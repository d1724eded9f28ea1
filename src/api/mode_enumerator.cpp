#include "api/mode_enumerator.h"

#include "frame/guard.h"

namespace orv {

HRESULT CORVAPOOpModeEnumerator::Next(IORVOperatingMode** op_mode) {
  return Guard([&]() -> HRESULT {
    ComPtr<CORVOperatingMode> mode;
    const HRESULT status = NextMode(mode);
    if (status != S_OK) return status;
    return mode->QueryInterface(IID_IORVOperatingMode, reinterpret_cast<void**>(op_mode));
  });
}

HRESULT CORVAPOOpModeEnumerator::NextMode(ComPtr<CORVOperatingMode>& mode) {
  if (cursor_ == modes_.size()) return S_FALSE;
  const auto& record = modes_[cursor_++];
  const HRESULT status = CreateObject(mode, module(), *endpoint_, record);
  if (SUCCEEDED(status)) mode->Init();
  return status;
}

}  // namespace orv
