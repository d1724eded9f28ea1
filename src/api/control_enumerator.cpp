#include "api/control_enumerator.h"

#include "api/control.h"
#include "platform/guard.h"

namespace orv {

HRESULT CORVAPOControlEnumerator::Next(IORVAPOControl** control) {
  return Guard([&]() -> HRESULT {
    if (control == nullptr) return E_POINTER;
    if (cursor_ == snapshot_.end()) return S_FALSE;
    const HRESULT status = MakeControl(cursor_->second, control);
    if (SUCCEEDED(status)) ++cursor_;
    return status;
  });
}

HRESULT CORVAPOControlEnumerator::GetControlFromName(BSTR control_name, IORVAPOControl** control) {
  return Guard([&]() -> HRESULT {
    if (control_name == nullptr || control == nullptr) return E_POINTER;
    *control = nullptr;
    for (const auto& [name, value] : snapshot_) {
      if (value.GetWName() == control_name) return MakeControl(value, control);
    }
    return orv_apo::kNotFound;
  });
}

HRESULT CORVAPOControlEnumerator::MakeControl(const ORVQVTValue& value, IORVAPOControl** control) {
  ComPtr<CORVAPOCOMControl> made;
  const HRESULT status = CreateObject(made, module(), *mode_, value);
  if (FAILED(status)) return status;
  return made->QueryInterface(IID_IORVAPOControl, reinterpret_cast<void**>(control));
}

}  // namespace orv
