#include "api/mode_enumerator.h"

#include "platform/guard.h"

namespace orv {

HRESULT CORVAPOOpModeEnumerator::Next(IORVOperatingMode** op_mode) {
  return Guard([&]() -> HRESULT {
    if (cursor_ == modes_.size()) return S_FALSE;
    ComPtr<CORVOperatingMode> mode;
    const HRESULT status = CreateObject(mode, module(), *endpoint_, modes_[cursor_++]);
    if (FAILED(status)) return status;
    return mode->QueryInterface(IID_IORVOperatingMode, reinterpret_cast<void**>(op_mode));
  });
}

}  // namespace orv
