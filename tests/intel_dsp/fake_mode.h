// An operating mode with the public controls that a test names.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "orv_apo/orv_apo.h"
#include "platform/com_object.h"
#include "platform/com_ptr.h"
#include "platform/guard.h"
#include "platform/text.h"

namespace orv {

using ListedControl = std::pair<std::string, LONG>;

class FakeControl final : public CountedObject<IORVAPOControl> {
 public:
  FakeControl(ListedControl control, HRESULT readable)
      : control_(std::move(control)), readable_(readable) {}

  HRESULT STDMETHODCALLTYPE get_DisplayValue(BSTR* text) override {
    *text = SysAllocString(Widen(control_.first).c_str());
    return *text == nullptr ? E_OUTOFMEMORY : S_OK;
  }
  HRESULT STDMETHODCALLTYPE get_Scale(ORV_QVT_SCALE*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_MinValue(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_MaxValue(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_Value(LONG* value) override {
    *value = control_.second;
    return readable_;
  }
  HRESULT STDMETHODCALLTYPE put_Value(LONG) override { return E_NOTIMPL; }

 private:
  ListedControl control_;
  HRESULT readable_;
};

class FakeMode final : public CountedObject<IORVOperatingMode, IORVAPOControlEnumerator> {
 public:
  // From a list or a map.
  template <class Controls>
  static ComPtr<FakeMode> Make(const Controls& controls) {
    const auto mode = ComPtr<FakeMode>::Adopt(new FakeMode);
    mode->controls_.assign(controls.begin(), controls.end());
    return mode;
  }

  HRESULT refusal = S_OK;  // of asking for the controls
  std::string unreadable;  // the control whose value cannot be read

  HRESULT STDMETHODCALLTYPE get_ORVAPOControlEnumerator(
      ORVAPOControlType type, IORVAPOControlEnumerator** enumerator) override {
    if (type != kORVAPO_Cont_Public) return E_INVALIDARG;
    if (FAILED(refusal)) return refusal;
    next_ = controls_.begin();
    AddRef();
    *enumerator = this;
    return S_OK;
  }
  HRESULT STDMETHODCALLTYPE Next(IORVAPOControl** control) override {
    if (next_ == controls_.end()) return S_FALSE;
    return Guard([&] {
      *control = new FakeControl(*next_, next_->first == unreadable ? E_FAIL : S_OK);
      ++next_;
      return S_OK;
    });
  }
  HRESULT STDMETHODCALLTYPE get_Name(BSTR*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE RestoreDefaults() override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE get_APOEnable(LONG*) override { return E_NOTIMPL; }
  HRESULT STDMETHODCALLTYPE put_APOEnable(LONG) override { return E_NOTIMPL; }

 private:
  std::vector<ListedControl> controls_;
  std::vector<ListedControl>::const_iterator next_;
};

}  // namespace orv
