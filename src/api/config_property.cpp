#include "api/config_property.h"

#include "platform/com_memory.h"
#include "platform/guard.h"

namespace orv {

HRESULT CORVAPOConfigProperty::get_Key(BSTR* key) {
  return Guard([&]() -> HRESULT {
    if (key == nullptr) return E_POINTER;
    return property_ ? ReturnText(property_->GetWName(), key) : E_UNEXPECTED;
  });
}

HRESULT CORVAPOConfigProperty::get_Value(BSTR* value) {
  return Guard([&]() -> HRESULT {
    if (value == nullptr) return E_POINTER;
    return property_ ? ReturnText(property_->ToWString(), value) : E_UNEXPECTED;
  });
}

}  // namespace orv
