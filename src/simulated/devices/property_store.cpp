#include "simulated/devices/property_store.h"

#include <algorithm>

#include "simulated/devices/counted_object.h"
#include "simulated/devices/task_memory.h"

namespace orv {
namespace {

constexpr PROPERTYKEY kFormFactorKey = {
    {0x1DA5D803, 0xD492, 0x4EDD, {0x8C, 0x23, 0xE0, 0xC0, 0xFF, 0xEE, 0x7F, 0x0E}}, 0};
// The platform's answer to a change of a store that was opened for reading (storage access denied).
constexpr HRESULT kStoreAccessDenied = static_cast<HRESULT>(0x80030005);

bool SameKey(const PROPERTYKEY& a, const PROPERTYKEY& b) noexcept {
  return IsEqualGUID(a.fmtid, b.fmtid) && a.pid == b.pid;
}

HRESULT CopyProperty(const SimulatedProperty& property, PROPVARIANT* value) noexcept {
  if (property.type == VT_UI4) {
    value->ulVal = property.number;
  } else if (property.type == VT_LPWSTR) {
    value->pwszVal = TaskCopy(property.text.c_str(), property.text.size() + 1);
    if (value->pwszVal == nullptr) return E_OUTOFMEMORY;
  } else if (property.type == VT_BLOB) {
    value->blob.pBlobData = TaskCopy(property.blob.data(), property.blob.size());
    if (value->blob.pBlobData == nullptr) return E_OUTOFMEMORY;
    value->blob.cbSize = static_cast<ULONG>(property.blob.size());
  } else {
    return S_OK;
  }
  value->vt = property.type;
  return S_OK;
}

class EndpointStore final : public CountedObject<IPropertyStore> {
 public:
  EndpointStore(const SimulatedEndpoint& endpoint, std::shared_ptr<FaultPlan> faults)
      : properties_(endpoint.properties), faults_(std::move(faults)) {
    if (Find(kFormFactorKey) != nullptr) return;
    SimulatedProperty form_factor;
    form_factor.key = kFormFactorKey;
    form_factor.type = VT_UI4;
    form_factor.number = endpoint.form_factor;
    properties_.push_back(std::move(form_factor));
  }

  HRESULT STDMETHODCALLTYPE GetCount(DWORD* count) override {
    if (count == nullptr) return E_POINTER;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("store.count")) return *fault;
      *count = static_cast<DWORD>(properties_.size());
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetAt(DWORD index, PROPERTYKEY* key) override {
    if (key == nullptr) return E_POINTER;
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("store.get_at")) return *fault;
      if (index >= properties_.size()) return E_INVALIDARG;
      *key = properties_[index].key;
      return S_OK;
    });
  }

  HRESULT STDMETHODCALLTYPE GetValue(const PROPERTYKEY& key, PROPVARIANT* value) override {
    if (value == nullptr) return E_POINTER;
    PropVariantInit(value);
    return Guard([&]() -> HRESULT {
      if (const auto fault = faults_->Check("store.get_value")) return *fault;
      const SimulatedProperty* property = Find(key);
      return property == nullptr ? S_OK : CopyProperty(*property, value);
    });
  }

  HRESULT STDMETHODCALLTYPE SetValue(const PROPERTYKEY&, const PROPVARIANT&) override {
    return kStoreAccessDenied;
  }
  HRESULT STDMETHODCALLTYPE Commit() override { return kStoreAccessDenied; }

 private:
  const SimulatedProperty* Find(const PROPERTYKEY& key) const noexcept {
    const auto found =
        std::find_if(properties_.begin(), properties_.end(),
                     [&](const SimulatedProperty& property) { return SameKey(property.key, key); });
    return found == properties_.end() ? nullptr : &*found;
  }

  std::vector<SimulatedProperty> properties_;
  std::shared_ptr<FaultPlan> faults_;
};

}  // namespace

IPropertyStore* OpenEndpointStore(const SimulatedEndpoint& endpoint,
                                  std::shared_ptr<FaultPlan> faults) {
  return new EndpointStore(endpoint, std::move(faults));
}

}  // namespace orv
