#include "api/control.h"

#include "frame/object_creation.h"
#include "platform/com_memory.h"
#include "platform/diagnostics.h"
#include "platform/guard.h"
#include "platform/text.h"

namespace orv {

HRESULT CORVAPOCOMControl::CheckResult(const void* result) const noexcept {
  if (result == nullptr) return E_POINTER;
  return mode_ ? S_OK : E_UNEXPECTED;
}

HRESULT CORVAPOCOMControl::get_DisplayValue(BSTR* display_value) {
  return Guard([&]() -> HRESULT {
    const HRESULT status = CheckResult(display_value);
    return FAILED(status) ? status : ReturnText(Widen(description_.name()), display_value);
  });
}

template <class T>
HRESULT CORVAPOCOMControl::Return(T value, T* result) const noexcept {
  const HRESULT status = CheckResult(result);
  if (SUCCEEDED(status)) *result = value;
  return status;
}

HRESULT CORVAPOCOMControl::get_Scale(ORV_QVT_SCALE* scale) {
  return Return(static_cast<ORV_QVT_SCALE>(description_.scale()), scale);
}

HRESULT CORVAPOCOMControl::get_MinValue(LONG* minimum) {
  return Return(LONG{description_.minimum()}, minimum);
}

HRESULT CORVAPOCOMControl::get_MaxValue(LONG* maximum) {
  return Return(LONG{description_.maximum()}, maximum);
}

HRESULT CORVAPOCOMControl::get_Value(LONG* value) {
  return Guard([&]() -> HRESULT {
    const HRESULT status = CheckResult(value);
    if (FAILED(status)) return status;
    const ORVQVTNameList& choices = description_.names();
    const bool is_choice = choices.Contains(value_.ToString());
    const auto number = mode_->GetValue(value_.GetName(), is_choice ? &choices : nullptr);
    if (!number) {
      Diagnose(ORV_HERE("CORVAPOCOMControl::get_Value"),
               L" Error, %S : m_OpMode->GetValue() failed!\n", value_.GetName());
      return E_FAIL;
    }
    *value = *number;
    return S_OK;
  });
}

HRESULT CORVAPOCOMControl::put_Value(LONG value) {
  return Guard([&]() -> HRESULT {
    if (!mode_) return E_UNEXPECTED;
    const std::string& name = value_.GetName();
    const auto choice = ChoiceText(description_.names(), value);
    ORVQVTValue changed =
        choice ? ORVQVTValue(name, *choice) : ORVQVTValue(name, std::int32_t{value});
    return mode_->PutValue(std::move(changed)) ? S_OK : E_FAIL;
  });
}

HRESULT CORVAPOControlEnumerator::Next(IORVAPOControl** control) {
  return Guard([&]() -> HRESULT {
    if (control == nullptr) return E_POINTER;
    if (cursor_ == list_.end()) return S_FALSE;
    const HRESULT status = HandOut<CORVAPOCOMControl>(control, module(), *mode_, cursor_->second);
    if (SUCCEEDED(status)) ++cursor_;
    return status;
  });
}

HRESULT CORVAPOControlEnumerator::GetControlFromName(BSTR control_name, IORVAPOControl** control) {
  return Guard([&]() -> HRESULT {
    if (control_name == nullptr || control == nullptr) return E_POINTER;
    *control = nullptr;
    // By its bytes, of which each text has one form in every locale without redundant characters.
    const ORVQVTValue* value = list_.Find(Narrow(control_name));
    if (value == nullptr || value->GetWName() != control_name) return orv_apo::kNotFound;
    return HandOut<CORVAPOCOMControl>(control, module(), *mode_, *value);
  });
}

}  // namespace orv
