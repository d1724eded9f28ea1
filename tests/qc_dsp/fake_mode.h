// An operating mode of a client's own, with public controls as they are listed.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orv_apo/orv_apo.h"
#include "platform/com_ptr.h"
#include "platform/simulated/counted_object.h"

namespace orv {

struct ListedControl {
  std::wstring name;
  LONG value = 0;
};

// Only what a DSP object may ask for does anything.
class FakeControl : public CountedObject<IORVAPOControl> {
 public:
  explicit FakeControl(ListedControl listed) : listed_(std::move(listed)) {}
  HRESULT STDMETHODCALLTYPE get_DisplayValue(BSTR* name) override {
    *name = SysAllocStringLen(listed_.name.data(), static_cast<UINT>(listed_.name.size()));
    return *name != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE get_Value(LONG* value) override {
    *value = listed_.value;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_Scale(ORV_QVT_SCALE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_MinValue(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_MaxValue(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_Value(LONG) override { return E_NOTIMPL; }

 private:
  ListedControl listed_;
};

class FakeMode : public CountedObject<IORVOperatingMode, IORVAPOControlEnumerator> {
 public:
  explicit FakeMode(std::vector<ListedControl> controls) : controls_(std::move(controls)) {}

  HRESULT STDMETHODCALLTYPE get_ORVAPOControlEnumerator(
      ORVAPOControlType type, IORVAPOControlEnumerator** enumerator) override {
    if (type != kORVAPO_Cont_Public) return E_INVALIDARG;
    if (FAILED(refusal)) return refusal;
    next_ = 0;
    AddRef();
    *enumerator = this;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Next(IORVAPOControl** control) override {
    if (next_ == controls_.size()) return S_FALSE;
    *control = new (std::nothrow) FakeControl(controls_[next_++]);
    return *control != nullptr ? S_OK : E_OUTOFMEMORY;
  }
  HRESULT STDMETHODCALLTYPE get_Name(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RestoreDefaults() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_APOEnable(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_APOEnable(LONG) override { return E_NOTIMPL; }

  HRESULT refusal = S_OK;

 private:
  std::vector<ListedControl> controls_;
  std::size_t next_ = 0;
};

}  // namespace orv
