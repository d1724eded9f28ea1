// One control of an operating mode, as a number with a range, a scale and a name to show.
#pragma once

#include "api/control_owner.h"
#include "frame/counted_part.h"
#include "frame/ref_counted.h"
#include "orv_apo/orv_apo.h"

namespace orv {

// A control that a client made by itself belongs to no mode: every operation of it gives
// E_UNEXPECTED (E_POINTER for a null out-parameter).
class CORVAPOCOMControl final : public RefCounted<Chain<IORVAPOControl>> {
 public:
  explicit CORVAPOCOMControl(Module& module) : RefCounted(&module) {}
  CORVAPOCOMControl(Module& module, ControlOwner& mode, const ORVQVTValue& value)
      : RefCounted(&module), mode_(mode), value_(value) {
    mode_->Describe(value_, description_);
  }

  HRESULT STDMETHODCALLTYPE get_DisplayValue(BSTR* display_value) override;
  HRESULT STDMETHODCALLTYPE get_Scale(ORV_QVT_SCALE* scale) override;
  HRESULT STDMETHODCALLTYPE get_MinValue(LONG* minimum) override;
  HRESULT STDMETHODCALLTYPE get_MaxValue(LONG* maximum) override;
  HRESULT STDMETHODCALLTYPE get_Value(LONG* value) override;
  HRESULT STDMETHODCALLTYPE put_Value(LONG value) override;

 private:
  // What every getter asks first.
  HRESULT CheckResult(const void* result) const noexcept;

  CountedPart<ControlOwner> mode_;
  ORVQVTValue value_;  // as it was in the list the control was taken from
  ORVQVTControlInfo description_;
};

}  // namespace orv
