#include "api/config_enumerator.h"

#include "frame/object_creation.h"
#include "platform/com_memory.h"
#include "platform/guard.h"
#include "platform/text.h"

namespace orv {

HRESULT CORVAPOConfigEnumerator::Next(IORVAPOConfigProperty** prop) {
  return Guard([&]() -> HRESULT {
    if (prop == nullptr) return E_POINTER;
    if (!endpoint_) return E_UNEXPECTED;
    const std::lock_guard lock(critical_section_);
    if (cursor_ == properties_.end()) return S_FALSE;
    const HRESULT status = HandOut<CORVAPOConfigProperty>(prop, module(), cursor_->second);
    if (SUCCEEDED(status)) ++cursor_;
    return status;
  });
}

HRESULT CORVAPOConfigEnumerator::get_ConfigProperty(BSTR key, IORVAPOConfigProperty** prop) {
  return Guard([&]() -> HRESULT {
    if (key == nullptr) return E_POINTER;
    if (!endpoint_) return E_UNEXPECTED;
    for (const auto& [name, property] : properties_) {
      if (EqualsIgnoringCase(property.GetWName(), key))
        return HandOut<CORVAPOConfigProperty>(prop, module(), property);
    }
    return E_INVALIDARG;
  });
}

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
