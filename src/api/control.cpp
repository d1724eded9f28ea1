#include "api/control.h"

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

HRESULT CORVAPOCOMControl::get_Scale(ORV_QVT_SCALE* scale) {
  const HRESULT status = CheckResult(scale);
  if (SUCCEEDED(status)) *scale = static_cast<ORV_QVT_SCALE>(description_.scale());
  return status;
}

HRESULT CORVAPOCOMControl::get_MinValue(LONG* minimum) {
  const HRESULT status = CheckResult(minimum);
  if (SUCCEEDED(status)) *minimum = description_.minimum();
  return status;
}

HRESULT CORVAPOCOMControl::get_MaxValue(LONG* maximum) {
  const HRESULT status = CheckResult(maximum);
  if (SUCCEEDED(status)) *maximum = description_.maximum();
  return status;
}

HRESULT CORVAPOCOMControl::get_Value(LONG* value) {
  return Guard([&]() -> HRESULT {
    const HRESULT status = CheckResult(value);
    if (FAILED(status)) return status;
    ORVQVTValue working = value_;
    const ORVQVTNameList& choices = description_.names();
    const bool found = choices.Contains(working.ToString()) ? mode_->GetValue(working, choices)
                                                            : mode_->GetValue(working);
    if (!found) {
      Diagnose(ORV_HERE("CORVAPOCOMControl::get_Value"),
               L" Error, %S : m_OpMode->GetValue() failed!\n", working.GetName());
      return E_FAIL;
    }
    *value = working.ToLong();
    return S_OK;
  });
}

HRESULT CORVAPOCOMControl::put_Value(LONG value) {
  return Guard([&]() -> HRESULT {
    if (!mode_) return E_UNEXPECTED;
    const ORVQVTNameList& choices = description_.names();
    const auto choice = ChoiceText(choices, value);
    const bool stored = choice
                            ? mode_->PutValue(ORVQVTValue(value_.GetName(), *choice), choices)
                            : mode_->PutValue(ORVQVTValue(value_.GetName(), std::int32_t{value}));
    return stored ? S_OK : E_FAIL;
  });
}

}  // namespace orv
