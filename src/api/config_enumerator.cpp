#include "api/config_enumerator.h"

#include "api/config_property.h"
#include "platform/guard.h"
#include "platform/text.h"

namespace orv {

HRESULT CORVAPOConfigEnumerator::Next(IORVAPOConfigProperty** prop) {
  return Guard([&]() -> HRESULT {
    if (prop == nullptr) return E_POINTER;
    if (!endpoint_) return E_UNEXPECTED;
    const std::lock_guard lock(critical_section_);
    if (cursor_ == properties_.end()) return S_FALSE;
    const HRESULT status = MakeProperty(cursor_->second, prop);
    if (SUCCEEDED(status)) ++cursor_;
    return status;
  });
}

HRESULT CORVAPOConfigEnumerator::get_ConfigProperty(BSTR key, IORVAPOConfigProperty** prop) {
  return Guard([&]() -> HRESULT {
    if (key == nullptr) return E_POINTER;
    if (!endpoint_) return E_UNEXPECTED;
    for (const auto& [name, property] : properties_) {
      if (EqualsIgnoringCase(property.GetWName(), key)) return MakeProperty(property, prop);
    }
    return E_INVALIDARG;
  });
}

HRESULT CORVAPOConfigEnumerator::MakeProperty(const ORVQVTValue& property,
                                              IORVAPOConfigProperty** prop) {
  ComPtr<CORVAPOConfigProperty> made;
  const HRESULT status = CreateObject(made, module(), property);
  if (FAILED(status)) return status;
  return made->QueryInterface(IID_IORVAPOConfigProperty, reinterpret_cast<void**>(prop));
}

}  // namespace orv
